// A preloadable object that finds the deadly mistake in the use of the client library: a callback that calls its own
// proxy, whose lock is held while the callback runs, never returns.
//
//     LD_PRELOAD=libzuv_callback_check.so PROGRAM
//
// Such a call ends the process (SIGABRT). A message on stderr names proxy, operation and thread, and has the stack of
// the call and that of the lock which it would wait for.
//
// The object replaces the functions that lock and unlock a mutex, and keeps a list of the library's mutexes that each
// thread holds. That costs the library a stack trace for each lock, and everybody else a look at the caller's address.
#include "zuv_media_proxy.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using velmora::ZUVMediaProxyInterface;
using MutexFunction = int (*)(pthread_mutex_t*);
using Address = std::uintptr_t;

// ---- Where the library is

struct Range {
    Address begin = 0;
    Address end = 0;

    bool contains(Address address) const { return address >= begin && address < end; }
};

struct Library {
    Range code;
    Range whole;
    bool isKnown = false;
};

/// Null until the library was found. Never changes after that: the library stays loaded.
const Library* library = nullptr;

int look(dl_phdr_info* object, std::size_t, void* result) {
    if (std::strstr(object->dlpi_name, "libzuv_media_proxy.so") == nullptr)
        return 0;
    auto& found = *static_cast<Library*>(result);
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = object->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD)
            continue;
        const Address begin = object->dlpi_addr + segment.p_vaddr;
        const Range range{begin, begin + segment.p_memsz};
        if ((segment.p_flags & PF_X) != 0)
            found.code = range;
        found.whole = {found.isKnown ? std::min(found.whole.begin, range.begin) : range.begin,
                       std::max(found.whole.end, range.end)};
        found.isKnown = true;
    }
    return 1;
}

int countLoaded(dl_phdr_info* object, std::size_t, void* count) {
    *static_cast<unsigned long long*>(count) = object->dlpi_adds;
    return 1;
}

/// Looks for the library when an object was loaded since the last look. Programs that load it by dlopen() do so at any
/// time.
void lookForLibrary() {
    static unsigned long long seen = 0;
    unsigned long long loaded = 0;
    dl_iterate_phdr(countLoaded, &loaded);
    if (__atomic_exchange_n(&seen, loaded, __ATOMIC_RELAXED) == loaded)
        return;
    static Library found; // two threads that look at the same time write the same
    dl_iterate_phdr(look, &found);
    if (found.isKnown)
        __atomic_store_n(&library, &found, __ATOMIC_RELEASE);
}

bool isOfLibrary(const void* code) {
    if (__atomic_load_n(&library, __ATOMIC_ACQUIRE) == nullptr)
        lookForLibrary();
    const Library* const known = __atomic_load_n(&library, __ATOMIC_ACQUIRE);
    return known != nullptr && known->code.contains(reinterpret_cast<Address>(code));
}

// ---- The locks of each thread

struct Stack {
    static constexpr int kDepth = 64;

    std::array<void*, kDepth> frames{};
    int size = 0;

    void take() { size = backtrace(frames.data(), kDepth); }
    void print() const { backtrace_symbols_fd(frames.data(), size, STDERR_FILENO); }
};

struct Held {
    pthread_mutex_t* mutex = nullptr;
    Stack since;
};

/// The library nests two locks.
constinit thread_local std::array<Held, 4> held{};

Held* find(const pthread_mutex_t* mutex) {
    const auto found = std::ranges::find(held, mutex, &Held::mutex);
    return found == held.end() ? nullptr : &*found;
}

MutexFunction next(const char* name) {
    return reinterpret_cast<MutexFunction>(dlsym(RTLD_NEXT, name));
}

// Null for what is called before this object is initialized.
const MutexFunction initializedLock = next("pthread_mutex_lock");
const MutexFunction initializedUnlock = next("pthread_mutex_unlock");

int reallyLock(pthread_mutex_t* mutex) {
    return (initializedLock == nullptr ? next("pthread_mutex_lock") : initializedLock)(mutex);
}

int reallyUnlock(pthread_mutex_t* mutex) {
    return (initializedUnlock == nullptr ? next("pthread_mutex_unlock") : initializedUnlock)(mutex);
}

// ---- The message

/// The proxy that has this mutex, or null: the beginning of an object that is recognised by its pointer to a table of
/// virtual functions of the library.
ZUVMediaProxyInterface* proxyWith(pthread_mutex_t* mutex) {
    constexpr int kMostWords = 64;
    void** word = reinterpret_cast<void**>(mutex);
    for (int i = 0; i < kMostWords; ++i) {
        const auto* const functions = static_cast<void* const*>(*--word);
        const auto address = reinterpret_cast<Address>(functions);
        if (library->whole.contains(address) && !library->code.contains(address) && isOfLibrary(*functions))
            return reinterpret_cast<ZUVMediaProxyInterface*>(word);
    }
    return nullptr;
}

/// The operation of the interface that the application called: the last function of the library on the way from the
/// innermost one to the application.
const char* operationIn(const Stack& stack, const ZUVMediaProxyInterface* proxy) {
    // In the order of the interface, which never changes; two destructors come first.
    constexpr std::array<const char*, 13> kOperations = {"id",      "localURL", "getState", "start",      "stop",
                                                         "pause",   "seek",     "preload",  "localAdURL", "getAdState",
                                                         "startAd", "stopAd",   "preloadAd"};
    constexpr std::size_t kDestructors = 2;
    const auto isLibrarys = [](const void* frame) { return isOfLibrary(frame); };
    const auto* const end = stack.frames.data() + stack.size;
    const auto* const innermost = std::find_if(stack.frames.data(), end, isLibrarys);
    const auto* const application = std::find_if_not(innermost, end, isLibrarys);
    if (innermost == application)
        return "unknown";
    const auto called = reinterpret_cast<Address>(*(application - 1));
    const Address* const functions = *reinterpret_cast<Address* const*>(proxy) + kDestructors;
    const Address* nearest = nullptr;
    for (const Address* function = functions; function != functions + kOperations.size(); ++function)
        if (*function <= called && (nearest == nullptr || *function > *nearest))
            nearest = function;
    return nearest == nullptr ? "unknown" : kOperations.at(static_cast<std::size_t>(nearest - functions));
}

[[noreturn]] void report(pthread_mutex_t* mutex, Held& before) {
    const Stack since = before.since;
    Stack call;
    call.take();
    std::array<char, 16> thread{};
    pthread_getname_np(pthread_self(), thread.data(), thread.size());
    std::fprintf(stderr, "zuv_callback_check: a callback calls its own proxy; the call would never return\n");
    if (ZUVMediaProxyInterface* const proxy = proxyWith(mutex)) {
        before.mutex = nullptr;
        reallyUnlock(mutex); // so that the proxy can say who it is
        std::fprintf(stderr, "  proxy: %s\n  operation: %s()\n", proxy->id().c_str(), operationIn(call, proxy));
    }
    std::fprintf(stderr, "  thread: %d \"%s\"\nThe call:\n", static_cast<int>(gettid()), thread.data());
    std::fflush(stderr);
    call.print();
    std::fprintf(stderr, "The lock that it would wait for was taken by:\n");
    std::fflush(stderr);
    since.print();
    std::abort();
}

// The first stack trace loads a library; not in the middle of a lock.
__attribute__((constructor)) void prepare() {
    Stack().take();
}

} // namespace

extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    if (!isOfLibrary(__builtin_return_address(0)))
        return reallyLock(mutex);
    if (Held* const before = find(mutex))
        report(mutex, *before);
    const int result = reallyLock(mutex);
    Held* const free = find(nullptr);
    if (result == 0 && free != nullptr) {
        free->mutex = mutex;
        free->since.take();
    }
    return result;
}

extern "C" __attribute__((visibility("default"))) int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    if (isOfLibrary(__builtin_return_address(0)))
        if (Held* const released = find(mutex))
            released->mutex = nullptr;
    return reallyUnlock(mutex);
}
