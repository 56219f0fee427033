// A mutex, its locks and a condition variable that clang checks: with -Wthread-safety, code that touches a member
// marked ZUV_GUARDED_BY without holding the mutex does not compile. For other compilers the marks mean nothing.
#ifndef ZUV_DESKTOP_BASE_MUTEX_H
#define ZUV_DESKTOP_BASE_MUTEX_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <utility>

#ifdef __clang__
#define ZUV_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define ZUV_THREAD_SAFETY(attribute)
#endif

/// A member that is only accessed while the mutex is held.
#define ZUV_GUARDED_BY(mutex) ZUV_THREAD_SAFETY(guarded_by(mutex))
/// A function or lambda that is only called while the mutex is held.
#define ZUV_REQUIRES(mutex) ZUV_THREAD_SAFETY(requires_capability(mutex))
/// A function that takes the mutex itself, so that its caller must not hold it.
#define ZUV_EXCLUDES(mutex) ZUV_THREAD_SAFETY(locks_excluded(mutex))

namespace velmora::desktop {

/// std::mutex, known to the compiler as a lock.
class ZUV_THREAD_SAFETY(capability("mutex")) Mutex {
public:
    void lock() ZUV_THREAD_SAFETY(acquire_capability()) { m_mutex.lock(); }
    void unlock() ZUV_THREAD_SAFETY(release_capability()) { m_mutex.unlock(); }

    /// Tells the compiler, and does not check, that the mutex is held: for callbacks, whose callers it cannot see.
    void assertHeld() const ZUV_THREAD_SAFETY(assert_capability(this)) {}

private:
    std::mutex m_mutex;
};

/// Holds a mutex for the length of a scope.
class ZUV_THREAD_SAFETY(scoped_lockable) MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ZUV_THREAD_SAFETY(acquire_capability(mutex)) : m_mutex(mutex) { m_mutex.lock(); }
    ~MutexLock() ZUV_THREAD_SAFETY(release_capability()) { m_mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& m_mutex;
};

/// Releases a held mutex for the length of a scope.
class ZUV_THREAD_SAFETY(scoped_lockable) MutexUnlock {
public:
    explicit MutexUnlock(Mutex& mutex) ZUV_THREAD_SAFETY(release_capability(mutex)) : m_mutex(mutex) {
        m_mutex.unlock();
    }
    ~MutexUnlock() ZUV_THREAD_SAFETY(release_capability()) { m_mutex.lock(); } // ends the release
    MutexUnlock(const MutexUnlock&) = delete;
    MutexUnlock& operator=(const MutexUnlock&) = delete;

private:
    Mutex& m_mutex;
};

/// std::condition_variable for a Mutex. The waits release the mutex while they sleep; conditions are evaluated with
/// the mutex held, as ZUV_REQUIRES on the lambda says.
class ConditionVariable {
public:
    void notifyOne() { m_condition.notify_one(); }
    void notifyAll() { m_condition.notify_all(); }

    /// Waits for the condition.
    template <typename Condition>
    void wait(Mutex& mutex, Condition isReached) ZUV_REQUIRES(mutex) {
        m_condition.wait(mutex, std::move(isReached));
    }

    /// Waits for the condition or a stop request. @return whether the condition holds.
    template <typename Condition>
    bool wait(Mutex& mutex, std::stop_token stop, Condition isReached) ZUV_REQUIRES(mutex) {
        return m_condition.wait(mutex, std::move(stop), std::move(isReached));
    }

    /// Waits for the condition, at most for `limit`. @return whether the condition holds.
    template <typename Condition>
    bool waitFor(Mutex& mutex, std::chrono::nanoseconds limit, Condition isReached) ZUV_REQUIRES(mutex) {
        return m_condition.wait_for(mutex, limit, std::move(isReached));
    }

    /// Waits for a notification, at most until `deadline`. Can return without either.
    void waitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline) ZUV_REQUIRES(mutex) {
        m_condition.wait_until(mutex, deadline);
    }

private:
    std::condition_variable_any m_condition;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_MUTEX_H
