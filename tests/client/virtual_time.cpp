#include "client/virtual_time.h"

#include "client/failing_calls.h"
#include "client/journal.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <ctime>
#include <utility>

namespace velmora::test {

void VirtualTime::begin() {
    std::lock_guard lock(m_mutex);
    m_running = true;
    m_now = kTimeAtBeginning;
    m_actions.clear();
}

nanoseconds VirtualTime::now() const {
    std::lock_guard lock(m_mutex);
    return m_now;
}

void VirtualTime::set(nanoseconds now) {
    std::lock_guard lock(m_mutex);
    m_now = now;
}

void VirtualTime::after(nanoseconds delay, Action action) {
    std::lock_guard lock(m_mutex);
    m_actions.emplace(m_now + delay, std::move(action));
}

void VirtualTime::sleep(nanoseconds duration) {
    const nanoseconds end = now() + duration;
    while (runNextActionUntil(end)) {
    }
    set(std::max(now(), end));
}

bool VirtualTime::waitUntil(nanoseconds deadline) {
    const int wakeUpsBefore = m_wakeUps;
    while (m_wakeUps == wakeUpsBefore) {
        if (!runNextActionUntil(deadline)) {
            set(std::max(now(), deadline));
            return false;
        }
    }
    return true;
}

void VirtualTime::noteNotification() {
    journal().add(notifiedAll());
    ++m_wakeUps;
    onNotify();
}

bool VirtualTime::runNextActionUntil(nanoseconds limit) {
    std::unique_lock lock(m_mutex);
    const auto next = m_actions.begin();
    if (next == m_actions.end() || next->first > limit)
        return false;
    m_now = std::max(m_now, next->first);
    const Action action = std::move(next->second);
    m_actions.erase(next);
    lock.unlock();
    action();
    return true;
}

VirtualTime& virtualTime() {
    static VirtualTime instance;
    return instance;
}

} // namespace velmora::test

namespace {

using std::chrono::nanoseconds;
using velmora::test::Call;
using velmora::test::isToFail;
using velmora::test::journal;
using velmora::test::OwnWork;
using velmora::test::virtualTime;

timespec asTimespec(nanoseconds time) {
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(time);
    return {static_cast<time_t>(whole.count()), static_cast<long>((time - whole).count())};
}

nanoseconds asNanoseconds(const timespec& time) {
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

} // namespace

// The linker's --wrap sends calls of f to __wrap_f and calls of __real_f to f.
extern "C" {

int __real_clock_gettime(clockid_t clock, timespec* time);
int __real_usleep(useconds_t duration);
int __real_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* deadline);

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
    if (!virtualTime().isRunning() || clock != CLOCK_MONOTONIC)
        return __real_clock_gettime(clock, time);
    if (isToFail(Call::ReadClock)) {
        errno = EINVAL;
        return -1;
    }
    const OwnWork work;
    *time = asTimespec(virtualTime().now());
    return 0;
}

int __wrap_usleep(useconds_t duration) {
    if (!virtualTime().isRunning())
        return __real_usleep(duration);
    const OwnWork work;
    journal().add(velmora::test::slept(std::chrono::microseconds(duration)));
    virtualTime().sleep(std::chrono::microseconds(duration));
    return 0;
}

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* deadline) {
    if (!virtualTime().isRunning())
        return __real_pthread_cond_clockwait(condition, mutex, clock, deadline);
    const OwnWork work;
    journal().add(velmora::test::waited(asNanoseconds(*deadline) - virtualTime().now()) +
                  (clock == CLOCK_MONOTONIC ? "" : " of another clock"));
    if (virtualTime().waitsAreReal())
        return pthread_cond_wait(condition, mutex);
    pthread_mutex_unlock(mutex);
    const bool woken = virtualTime().waitUntil(asNanoseconds(*deadline));
    pthread_mutex_lock(mutex);
    return woken ? 0 : ETIMEDOUT;
}

} // extern "C"

using SteadyTime = std::chrono::steady_clock::time_point;

SteadyTime realSteadyNow() asm("__real__ZNSt6chrono3_V212steady_clock3nowEv");
SteadyTime wrappedSteadyNow() asm("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

SteadyTime wrappedSteadyNow() {
    const OwnWork work;
    return virtualTime().isRunning() ? SteadyTime(virtualTime().now()) : realSteadyNow();
}

void realNotifyAll(std::condition_variable* condition) asm("__real__ZNSt18condition_variable10notify_allEv");
void wrappedNotifyAll(std::condition_variable* condition) asm("__wrap__ZNSt18condition_variable10notify_allEv");

void wrappedNotifyAll(std::condition_variable* condition) {
    const OwnWork work;
    if (virtualTime().isRunning())
        virtualTime().noteNotification();
    realNotifyAll(condition);
}
