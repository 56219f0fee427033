// One connection to the bus, shared by any number of threads.
#ifndef ZUV_DESKTOP_BUS_BUS_CONNECTION_H
#define ZUV_DESKTOP_BUS_BUS_CONNECTION_H

#include "base/file_descriptor.h"
#include "bus/sd_bus_pointers.h"
#include "bus/service_starter.h"

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
/// Errors are negative errno values. When the bus goes away every operation fails with one at once, and what
/// is published meanwhile is dropped, until reconnect() has found a bus at the same address again. Topics
/// have no values on it before somebody publishes: the keeper that had them has gone with the bus.
class BusConnection {
public:
    BusConnection();
    /// Gives what is still queued for sending up to 100 ms to leave. No other call may be under way.
    ~BusConnection();

    /// Connects, listens to `topic` and sees to it that the keeper runs, so that a value read is never older
    /// than one published before it on this connection. Called first, and once. Waits for up to two seconds
    /// for a bus that does not answer, and for up to three for the keeper. A missing keeper is logged and
    /// costs nothing but reading.
    int open(const std::string& topic);

    /// Does again what open() did, at the same address, and again until it succeeds: after 100 ms at first,
    /// every 500 ms later. Called when nextEvent() tells of the loss, on the same thread; so the connection
    /// returns after the event that is being handled when the bus is lost.
    /// @return true when the connection works again, false once stop() was called.
    bool reconnect();

    /// Asks for the service and returns: one that does not run is started, one that hangs is killed and
    /// started anew, one that answers is left alone. What becomes of it is logged. Only the first step is
    /// taken here; the others are, as everything that arrives, a matter of whoever pumps.
    int startService();

    /// Reads the last value of `topic`; waits for at most 100 ms. -ENODATA when there is none.
    int read(const std::string& topic, std::vector<std::string>& values);

    /// Publishes without waiting; while there is no bus the list is dropped. On the topic that is listened
    /// to, the connection's own publications come back as events, as D-Bus has it.
    int publish(const std::string& topic, const std::vector<std::string>& values);

    /// Waits for the next event, in the order of arrival. nullopt once stop() was called, or when the
    /// connection is lost and every event that came before has been taken.
    std::optional<std::vector<std::string>> nextEvent();

    /// Ends nextEvent(), now and for ever.
    void stop();
    bool isStopped() const;

    /// Whether open() has succeeded.
    bool isOpened() const;

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    enum class State { unopened, connecting, connected, lost };

    int connect(Lock& lock);
    int establish(Lock& lock);
    int listen();
    int startKeeper(Lock& lock);
    bool isUsable() const { return m_state == State::connected; }
    int afterSending(int result);

    template <typename Condition>
    int pumpUntil(Lock& lock, Clock::time_point deadline, Condition isReached);
    template <typename Condition>
    int pumpUnlessStopped(Lock& lock, Clock::time_point deadline, Condition isReached);
    void pump(Lock& lock, Clock::time_point deadline);
    int waitForTraffic(Lock& lock, Clock::time_point deadline);
    void lose(int error);
    void wakePump();

    static int onAnyMessage(sd_bus_message* message, void* connection, sd_bus_error*) noexcept;
    static int onPublished(sd_bus_message* message, void* connection, sd_bus_error*) noexcept;

    /// Interrupts the sleep of the thread that pumps.
    const FileDescriptor m_wake;

    mutable std::mutex m_mutex;
    std::condition_variable m_pumped; ///< a thread has stopped pumping; used with m_mutex

    // Guarded by m_mutex.
    std::string m_address; ///< of the bus that was found first, for as long as the connection lives
    std::string m_topic;
    State m_state = State::unopened;
    BusPointer m_bus;
    ServiceStarter m_starter;
    bool m_opened = false;
    bool m_pumping = false;
    bool m_stopped = false;
    std::deque<std::vector<std::string>> m_events;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_BUS_CONNECTION_H
