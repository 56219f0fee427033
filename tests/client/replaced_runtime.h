// The functions of the C and C++ run time that are replaced at link time: time, mutexes, random bytes, memory and
// printf, and which of the client's calls fail.
#ifndef ZUV_TESTS_CLIENT_REPLACED_RUNTIME_H
#define ZUV_TESTS_CLIENT_REPLACED_RUNTIME_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace velmora::test {

// ---- Calls that fail: the nth of a kind, or every one. Only calls by the client on the thread of the test count, not
// those of the recording platform.

enum class Call {
    New,             ///< operator new, also of the libraries that the client uses: std::bad_alloc
    UuidBuffer,      ///< the malloc of a UUID's text: null
    Lock,            ///< the lock of any mutex: std::system_error
    ReadClock,       ///< clock_gettime of the monotonic clock: -1
    Sleep,           ///< nanosleep: -1, interrupted by a signal when half the time has passed
    OpenRegion,      ///< shm_open: -1
    ResizeRegion,    ///< ftruncate: -1
    MapRegion,       ///< mmap: MAP_FAILED
    MapRegionToNull, ///< mmap: null
};
inline constexpr int kCallKinds = 9;

/// Makes the nth call of this kind fail, counted from 1 at this moment, and no other.
void failNth(Call call, int nth);
inline void failNext(Call call) {
    failNth(call, 1);
}
void failEvery(Call call);
/// Makes no further call of this kind fail. @return whether one has failed.
bool stopFailing(Call call);

// The replaced functions report here.
bool isToFail(Call call);

// ---- Virtual time: it stands still unless a test, a sleep or a timed wait advances it, so that no test waits for real
// time. Replaces clock_gettime, nanosleep, std::chrono::steady_clock::now, and the timed wait and notify_all of
// std::condition_variable; before begin() and after end() the real functions run.

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// What the monotonic clock shows at begin(), and the same as a command's request time.
inline constexpr nanoseconds kTimeAtBeginning = nanoseconds(812'004'531'000);
inline constexpr const char* kRequestTimeAtBeginning = "812.004531";

class VirtualTime {
public:
    using Action = std::function<void()>;

    /// Starts virtual time, or starts it again without the actions that are still to come.
    void begin();
    void end() { m_running = false; }
    bool isRunning() const { return m_running; }

    nanoseconds now() const;
    void set(nanoseconds now);
    void advance(nanoseconds duration) { set(now() + duration); }

    /// Runs `action` when a sleep or a wait reaches the moment `delay` from now: on the thread that sleeps or waits,
    /// with the mutex of the wait released.
    void after(nanoseconds delay, Action action);

    /// From now on waits end when another thread notifies, never at their deadline, and take no virtual time.
    void waitForRealNotifications() { m_waitsAreReal = true; }
    bool waitsAreReal() const { return m_waitsAreReal; }

    /// Ends the current wait without a notification.
    void wakeSpuriously() { ++m_wakeUps; }

    /// Called on each notification, on the notifying thread.
    Action onNotify = [] {};

    // The replaced functions report here.
    void sleep(nanoseconds duration);
    /// @return false when the deadline came first.
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

// ---- Mutexes: the journal records when a watched one is locked and unlocked. Replaces pthread_mutex_lock and
// pthread_mutex_unlock; for other mutexes the real functions run, except where a lock is to fail.

/// Records each lock and unlock of this mutex from now on. Not to be called while another thread runs.
void watch(std::mutex& mutex, const std::string& name);

/// Runs `action` right before the next lock of this mutex, on the locking thread, in place of another thread that held
/// the mutex until then.
void beforeNextLock(std::mutex& mutex, std::function<void()> action);

/// Runs `action` right after the next unlock of this mutex, on the unlocking thread.
void afterNextUnlock(std::mutex& mutex, std::function<void()> action);

/// Whether any thread holds the mutex at this moment.
bool isHeld(std::mutex& mutex);
bool isAnyHeld(const std::vector<std::mutex*>& mutexes);

// ---- Random bytes, memory and printf, whose lines go into the journal; operator new and delete for the whole process.

using UuidBytes = std::array<unsigned char, 16>;

/// From now on the nth UUID, counted from 1, has the bytes 0, ..., 0, n.
void numberUuids();
/// From now on every UUID has these bytes.
void fixUuid(const UuidBytes& bytes);
/// Called while a numbered or fixed UUID is generated.
extern std::function<void()> duringUuid;
/// The UUIDs generated since numberUuids() or fixUuid().
int uuidsDrawn();
/// The session identifier with the nth numbered UUID.
std::string sessionId(int nth);

/// From now on counts the client's calls of operator new with this size.
void countNew(std::size_t size);
int newCalls();

/// The allocations by operator new, and by malloc for a UUID's text, that the process has not freed.
std::size_t liveAllocations();

/// The journal's line for what the unimplemented pause prints.
std::string printedLine(const std::string& file, const std::string& function);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_REPLACED_RUNTIME_H
