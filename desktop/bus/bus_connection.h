// One connection to the bus, shared by any number of threads.
#ifndef ZUV_DESKTOP_BUS_BUS_CONNECTION_H
#define ZUV_DESKTOP_BUS_BUS_CONNECTION_H

#include "base/file_descriptor.h"
#include "base/mutex.h"
#include "bus/sd_bus_pointers.h"
#include "bus/service_starter.h"

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// A connection that publishes, reads, starts the service and collects the publications of one topic as events.
///
/// After open(), all operations may be called from any thread at any time. sd-bus is not thread-safe: a mutex guards
/// it, which is released while a thread sleeps and while the caller handles an event. A thread that waits for something
/// pumps the connection, that is, it sleeps until there is traffic and lets sd-bus process it, unless another thread is
/// pumping already. A wait therefore ends in time even while the thread that takes the events is busy with one.
///
/// Errors are negative errno values. When the connection to the bus is lost, every operation fails at once, and what is
/// published is dropped, until reconnect() has found a bus at the same address. Topics have no values on that bus until
/// somebody publishes, because the keeper that had them ended with the old one.
class BusConnection {
public:
    BusConnection();
    /// Waits up to 100 ms for queued messages to be sent. No other call may be in progress.
    ~BusConnection();

    /// Connects, subscribes to `topic` and starts the keeper if necessary, so that read() never returns a value older
    /// than one published before on this connection. Called once, before everything else. Waits up to two seconds for
    /// a bus that does not answer, and up to three for the keeper. If the keeper cannot be started, that is logged and
    /// only read() is affected.
    int open(const std::string& topic) ZUV_EXCLUDES(m_mutex);

    /// Repeats what open() did, at the same address, until it succeeds: after 100 ms at first, every 500 ms later. To
    /// be called on the thread that calls nextEvent(), when that reports the loss. If the bus is lost while an event is
    /// handled, the connection is therefore restored after that.
    /// @return true when the connection works again, false once stop() was called.
    bool reconnect() ZUV_EXCLUDES(m_mutex);

    /// Requests the service without waiting: it is started if it does not run, killed and restarted if it hangs, and
    /// left alone if it answers. The outcome is logged. Only the first request is sent here; a thread that pumps does
    /// the rest.
    int startService() ZUV_EXCLUDES(m_mutex);

    /// Reads the last value of `topic`. Waits at most 100 ms. -ENODATA when there is none.
    int read(const std::string& topic, std::vector<std::string>& values) ZUV_EXCLUDES(m_mutex);

    /// Publishes without waiting. Without a bus, the list is dropped. As usual in D-Bus, the connection receives its
    /// own publications on the topic that it is subscribed to.
    int publish(const std::string& topic, const std::vector<std::string>& values) ZUV_EXCLUDES(m_mutex);

    /// Waits for the next event, in the order of arrival. nullopt once stop() was called, or when the connection is
    /// lost and all events that arrived before have been taken.
    std::optional<std::vector<std::string>> nextEvent() ZUV_EXCLUDES(m_mutex);

    /// Makes the current and all later calls of nextEvent() return.
    void stop() ZUV_EXCLUDES(m_mutex);
    bool isStopped() const ZUV_EXCLUDES(m_mutex);

    /// Whether open() has succeeded.
    bool isOpened() const ZUV_EXCLUDES(m_mutex);

private:
    using Clock = std::chrono::steady_clock;

    enum class State { unopened, connecting, connected, lost };

    int connect() ZUV_REQUIRES(m_mutex);
    int establish() ZUV_REQUIRES(m_mutex);
    int listen() ZUV_REQUIRES(m_mutex);
    int startKeeper() ZUV_REQUIRES(m_mutex);
    bool isUsable() const ZUV_REQUIRES(m_mutex) { return m_state == State::connected; }
    int afterSending(int result) ZUV_REQUIRES(m_mutex);

    template <typename Condition>
    int pumpUntil(Clock::time_point deadline, Condition isReached) ZUV_REQUIRES(m_mutex);
    template <typename Condition>
    int pumpUnlessStopped(Clock::time_point deadline, Condition isReached) ZUV_REQUIRES(m_mutex);
    void pump(Clock::time_point deadline) ZUV_REQUIRES(m_mutex);
    int waitForTraffic(Clock::time_point deadline) ZUV_REQUIRES(m_mutex);
    void lose(int error) ZUV_REQUIRES(m_mutex);
    void wakePump();

    static int onAnyMessage(sd_bus_message* message, void* connection, sd_bus_error*) noexcept;
    static int onPublished(sd_bus_message* message, void* connection, sd_bus_error*) noexcept;

    /// Interrupts the sleep of the thread that pumps.
    const FileDescriptor m_wake;

    mutable Mutex m_mutex;
    ConditionVariable m_pumped; ///< a thread has stopped pumping

    std::string m_address ZUV_GUARDED_BY(m_mutex); ///< of the first bus; reconnect() looks for no other
    std::string m_topic ZUV_GUARDED_BY(m_mutex);
    State m_state ZUV_GUARDED_BY(m_mutex) = State::unopened;
    BusPointer m_bus ZUV_GUARDED_BY(m_mutex);
    ServiceStarter m_starter ZUV_GUARDED_BY(m_mutex);
    bool m_opened ZUV_GUARDED_BY(m_mutex) = false;
    bool m_pumping ZUV_GUARDED_BY(m_mutex) = false;
    bool m_stopped ZUV_GUARDED_BY(m_mutex) = false;
    std::deque<std::vector<std::string>> m_events ZUV_GUARDED_BY(m_mutex);
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_BUS_CONNECTION_H
