// Time that stands still unless a test, a sleep or a timed wait moves it on: no test waits for real time.
//
// Replaces clock_gettime, usleep, std::chrono::steady_clock::now, the timed wait of std::condition_variable
// and its notify_all at link time. Before begin() and after end() all of them are the real ones.
#ifndef ZUV_TESTS_CLIENT_VIRTUAL_TIME_H
#define ZUV_TESTS_CLIENT_VIRTUAL_TIME_H

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>

namespace velmora::test {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// The monotonic clock's reading at begin(), and how a request time looks that was read there.
inline constexpr nanoseconds kTimeAtBeginning = nanoseconds(812'004'531'000);
inline constexpr const char* kRequestTimeAtBeginning = "812.004531";

class VirtualTime {
public:
    using Action = std::function<void()>;

    /// Time begins, also anew: nothing of an earlier time is still to happen.
    void begin();
    void end() { m_running = false; }
    bool isRunning() const { return m_running; }

    nanoseconds now() const;
    void set(nanoseconds now);
    void advance(nanoseconds duration) { set(now() + duration); }

    /// Runs `action` while a sleep or a wait passes the moment `delay` from now: on the sleeping thread, with
    /// the waiting thread's mutex released, before the sleeper goes on.
    void after(nanoseconds delay, Action action);

    /// Waits end by a real notification of another thread only, never by their deadline, and take no time.
    void waitForRealNotifications() { m_waitsAreReal = true; }
    bool waitsAreReal() const { return m_waitsAreReal; }

    /// Ends the wait under way although nobody notified.
    void wakeSpuriously() { ++m_wakeUps; }

    /// Called on each notification, on the notifying thread.
    Action onNotify = [] {};

    // The replaced functions report here.
    void sleep(nanoseconds duration);
    /// False when the deadline came before a wake-up.
    bool waitUntil(nanoseconds deadline);
    void noteNotification();

private:
    bool runNextActionUntil(nanoseconds limit);

    bool m_running = false;
    bool m_waitsAreReal = false;
    mutable std::mutex m_mutex;
    nanoseconds m_now = kTimeAtBeginning;
    std::multimap<nanoseconds, Action> m_actions;
    std::atomic<int> m_wakeUps = 0;
};

VirtualTime& virtualTime();

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_VIRTUAL_TIME_H
