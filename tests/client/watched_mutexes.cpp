#include "client/watched_mutexes.h"

#include "client/failing_calls.h"
#include "client/journal.h"

#include <pthread.h>

#include <cerrno>
#include <map>
#include <thread>
#include <utility>

namespace velmora::test {

namespace {

std::map<const pthread_mutex_t*, std::string>& watchedNames() {
    static std::map<const pthread_mutex_t*, std::string> names;
    return names;
}

struct Hook {
    const pthread_mutex_t* mutex = nullptr;
    std::function<void()> action;

    void set(std::mutex& watched, std::function<void()> toDo) {
        mutex = watched.native_handle();
        action = std::move(toDo);
    }

    void reached(const pthread_mutex_t* reachedMutex) {
        if (reachedMutex != mutex)
            return;
        mutex = nullptr;
        action();
    }
};

Hook beforeLock;
Hook afterUnlock;

} // namespace

void watch(std::mutex& mutex, const std::string& name) {
    watchedNames()[mutex.native_handle()] = name;
}

void beforeNextLock(std::mutex& mutex, std::function<void()> action) {
    beforeLock.set(mutex, std::move(action));
}

void afterNextUnlock(std::mutex& mutex, std::function<void()> action) {
    afterUnlock.set(mutex, std::move(action));
}

bool isHeld(std::mutex& mutex) {
    return isAnyHeld({&mutex});
}

bool isAnyHeld(const std::vector<std::mutex*>& mutexes) {
    bool held = false;
    // Another thread asks: try_lock by the holder itself is undefined.
    std::thread([&] {
        for (std::mutex* const mutex : mutexes) {
            if (mutex->try_lock())
                mutex->unlock();
            else
                held = true;
        }
    }).join();
    return held;
}

} // namespace velmora::test

using namespace velmora::test;

extern "C" {

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    if (isToFail(Call::Lock))
        return EINVAL;
    const OwnWork work;
    beforeLock.reached(mutex);
    const int result = __real_pthread_mutex_lock(mutex);
    if (const auto watched = watchedNames().find(mutex); watched != watchedNames().end())
        journal().add(locked(watched->second));
    return result;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    const OwnWork work;
    if (const auto watched = watchedNames().find(mutex); watched != watchedNames().end())
        journal().add(unlocked(watched->second));
    const int result = __real_pthread_mutex_unlock(mutex);
    afterUnlock.reached(mutex);
    return result;
}

} // extern "C"
