// Mutexes whose locking a test wants to see in the journal. Replaces pthread_mutex_lock and
// pthread_mutex_unlock at link time; mutexes that nobody watches are the real
// thing, but for a lock that is to fail.
#ifndef ZUV_TESTS_CLIENT_WATCHED_MUTEXES_H
#define ZUV_TESTS_CLIENT_WATCHED_MUTEXES_H

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace velmora::test {

/// From here on the journal tells of this mutex. Not to be called while another thread runs.
void watch(std::mutex& mutex, const std::string& name);

/// Runs `action` right before the next lock of this mutex, on the locking thread: what another thread did
/// that held the mutex until then.
void beforeNextLock(std::mutex& mutex, std::function<void()> action);

/// Runs `action` right after the next unlock of this mutex, on the unlocking thread.
void afterNextUnlock(std::mutex& mutex, std::function<void()> action);

/// Whether any thread holds the mutex at this moment.
bool isHeld(std::mutex& mutex);
bool isAnyHeld(const std::vector<std::mutex*>& mutexes);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_WATCHED_MUTEXES_H
