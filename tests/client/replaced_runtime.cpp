#include "client/replaced_runtime.h"

#include "client/journal.h"

#include <pthread.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <new>
#include <string_view>
#include <thread>
#include <utility>

// ---- Calls that fail

namespace velmora::test {

namespace {

struct Plan {
    bool every = false;
    int left = 0; ///< calls up to the one that fails
    bool failed = false;
};

thread_local std::array<Plan, kCallKinds> plans;

Plan& planOf(Call call) {
    return plans[static_cast<std::size_t>(call)];
}

} // namespace

void failNth(Call call, int nth) {
    planOf(call) = {.every = false, .left = nth, .failed = false};
}

void failEvery(Call call) {
    planOf(call) = {.every = true, .left = 0, .failed = false};
}

bool stopFailing(Call call) {
    const bool failed = planOf(call).failed;
    planOf(call) = {};
    return failed;
}

bool isToFail(Call call) {
    if (isOwnWork())
        return false;
    Plan& plan = planOf(call);
    const bool fails = plan.every || (plan.left > 0 && --plan.left == 0);
    plan.failed = plan.failed || fails;
    return fails;
}

} // namespace velmora::test

using namespace velmora::test;

// ---- Time

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
int __real_nanosleep(const timespec* duration, timespec* remaining);
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

int __wrap_nanosleep(const timespec* duration, timespec* remaining) {
    if (!virtualTime().isRunning())
        return __real_nanosleep(duration, remaining);
    const bool interrupted = isToFail(Call::Sleep);
    const OwnWork work;
    const nanoseconds time = asNanoseconds(*duration) / (interrupted ? 2 : 1);
    journal().add(slept(std::chrono::duration_cast<microseconds>(time)));
    virtualTime().sleep(time);
    if (!interrupted)
        return 0;
    *remaining = asTimespec(asNanoseconds(*duration) - time);
    errno = EINTR;
    return -1;
}

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* deadline) {
    if (!virtualTime().isRunning())
        return __real_pthread_cond_clockwait(condition, mutex, clock, deadline);
    const OwnWork work;
    journal().add(waited(asNanoseconds(*deadline) - virtualTime().now()) +
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

// ---- Mutexes

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

// ---- Random bytes, memory, printf

namespace velmora::test {

std::function<void()> duringUuid = [] {};

namespace {

enum class Uuids { Random, Numbered, Fixed };
Uuids uuids = Uuids::Random;
UuidBytes fixedUuid = {};
int drawn = 0;

constexpr std::size_t kUuidBufferSize = 256;
std::size_t countedSize = 0;
std::atomic<int> countedCalls = 0;
std::atomic<std::size_t> live = 0;
std::atomic<void*> uuidBuffer = nullptr;

__attribute__((format(printf, 1, 0))) std::string describePrinted(const char* format, va_list arguments) {
    const std::filesystem::path file = va_arg(arguments, const char*);
    const std::string function = va_arg(arguments, const char*);
    const int line = va_arg(arguments, int);
    return "printf " + quoted(format) + " of " + file.filename().string() + " " + function + "()" +
           (line > 0 ? "" : " at line " + std::to_string(line));
}

// GoogleTest prints, too; of interest is the one line of the client, without the directories of its file.
__attribute__((format(printf, 1, 0))) int recordAndPrint(const char* format, va_list arguments) {
    const OwnWork work;
    if (std::string_view(format).find("NotImplemented") != std::string_view::npos) {
        va_list again;
        va_copy(again, arguments);
        journal().add(describePrinted(format, again));
        va_end(again);
    }
    return std::vprintf(format, arguments);
}

} // namespace

void numberUuids() {
    uuids = Uuids::Numbered;
    drawn = 0;
}

void fixUuid(const UuidBytes& bytes) {
    uuids = Uuids::Fixed;
    fixedUuid = bytes;
    drawn = 0;
}

int uuidsDrawn() {
    return drawn;
}

std::string sessionId(int nth) {
    std::array<char, 40> text;
    std::snprintf(text.data(), text.size(), "ses-00000000-0000-0000-%016X", static_cast<unsigned>(nth));
    return text.data();
}

void countNew(std::size_t size) {
    countedSize = size;
    countedCalls = 0;
}

int newCalls() {
    return countedCalls;
}

std::size_t liveAllocations() {
    return live;
}

std::string printedLine(const std::string& file, const std::string& function) {
    return "printf " + quoted(" NotImplemented %s,%s,%d\n") + " of " + file + " " + function + "()";
}

} // namespace velmora::test

extern "C" {

void __real_uuid_generate(uuid_t bytes);
void* __real_malloc(std::size_t size);
void __real_free(void* memory);

void __wrap_uuid_generate(uuid_t bytes) {
    if (uuids == Uuids::Random) {
        __real_uuid_generate(bytes);
        return;
    }
    ++drawn;
    duringUuid();
    UuidBytes numbered = {};
    numbered.back() = static_cast<unsigned char>(drawn);
    std::ranges::copy(uuids == Uuids::Fixed ? fixedUuid : numbered, bytes);
}

void* __wrap_malloc(std::size_t size) {
    if (size != kUuidBufferSize)
        return __real_malloc(size);
    if (isToFail(Call::UuidBuffer))
        return nullptr;
    ++live;
    return uuidBuffer = __real_malloc(size);
}

void __wrap_free(void* memory) {
    if (void* text = memory; text != nullptr && uuidBuffer.compare_exchange_strong(text, nullptr))
        --live;
    __real_free(memory);
}

__attribute__((format(printf, 1, 2))) int __wrap_printf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = recordAndPrint(format, arguments);
    va_end(arguments);
    return length;
}

// What printf becomes in hardened code.
__attribute__((format(printf, 2, 3))) int __wrap___printf_chk(int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = recordAndPrint(format, arguments);
    va_end(arguments);
    return length;
}

} // extern "C"

// Not wrapped but replaced, so that the allocations of shared libraries are seen as well.
void* operator new(std::size_t size) {
    if (isToFail(Call::New))
        throw std::bad_alloc();
    if (size == countedSize && !isOwnWork())
        ++countedCalls;
    void* const memory = __real_malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    ++live;
    return memory;
}

void operator delete(void* memory) noexcept {
    if (memory != nullptr)
        --live;
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
