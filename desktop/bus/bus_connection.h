// One connection to the bus, shared by any number of threads.
#ifndef ZUV_DESKTOP_BUS_CONNECTION_H
#define ZUV_DESKTOP_BUS_CONNECTION_H

#include "file_descriptor.h"
#include "sd_bus_pointers.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// A connection that publishes, reads, starts the service and collects the publications of one topic as
/// events.
///
/// All operations but open() may be called from any thread at any time. sd-bus itself knows no threads: one
/// mutex guards it, which is held neither while a thread sleeps nor while the user of an event runs. Whoever
/// waits for something pumps the connection - sleeps until there is traffic and lets sd-bus process it -
/// unless another thread does already; so a wait ends in time even while the thread that takes the events is
/// busy with one.
///
/// Errors are negative errno values. Once the connection is lost every operation fails with one at once.
class BusConnection {
public:
    BusConnection();
    /// Gives what is still queued for sending up to 100 ms to leave. No other call may be under way.
    ~BusConnection();

    /// Connects, listens to `topic` and sees to it that the keeper runs, so that a value read is never older
    /// than one published before it on this connection. Called first, and once. Waits for up to two seconds
    /// for each of these when the bus does not answer. A missing keeper is logged and costs nothing but
    /// reading.
    int open(const std::string& topic);

    /// Asks the bus to start the service and returns; a service that runs is left alone. What becomes of it
    /// is logged.
    int startService();

    /// Reads the last value of `topic`; waits for at most 100 ms. -ENODATA when there is none.
    int read(const std::string& topic, std::vector<std::string>& values);

    /// Publishes without waiting. On the topic that is listened to, the connection's own publications come
    /// back as events, as D-Bus has it.
    int publish(const std::string& topic, const std::vector<std::string>& values);

    /// Waits for the next event, in the order of arrival. nullopt once stop() was called, or when the
    /// connection is lost and every event that came before has been taken.
    std::optional<std::vector<std::string>> nextEvent();

    /// Ends nextEvent(), now and for ever.
    void stop();
    bool isStopped() const;

    /// Whether open() has succeeded and the connection has not been lost since.
    bool isConnected() const;

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    int connect(Lock& lock);
    int listen(const std::string& topic);
    void startKeeper();
    bool isUsable() const;
    int afterSending(int result);

    template <typename Condition>
    int pumpUntil(Lock& lock, Clock::time_point deadline, Condition isReached);
    void pump(Lock& lock, Clock::time_point deadline);
    int waitForTraffic(Lock& lock, Clock::time_point deadline);
    void lose(int error);
    void wakePump();

    static int onPublished(sd_bus_message* message, void* connection, sd_bus_error*) noexcept;

    /// Interrupts the sleep of the thread that pumps.
    const FileDescriptor m_wake;

    mutable std::mutex m_mutex;
    std::condition_variable m_pumped; ///< a thread has stopped pumping; used with m_mutex

    // Guarded by m_mutex.
    BusPointer m_bus;
    bool m_pumping = false;
    bool m_lost = false;
    bool m_stopped = false;
    std::deque<std::vector<std::string>> m_events;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_CONNECTION_H
