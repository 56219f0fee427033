#include "trace/recorder/event_region.h"

#include "trace/recorder/recorder.h"
#include "trace/recorder/replaced_function.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace velmora::trace {
namespace {

constexpr std::string_view kRegionName = "/ZUV_PROXY";
constexpr std::size_t kRegionSize = 4096;

constinit Replaced<int(const char*, int, mode_t)> openRegion("shm_open");
// The size of off_t depends on how this file is compiled, those of the arguments do not.
constinit Replaced<void*(void*, size_t, int, int, int, long)> map("mmap");
constinit Replaced<void*(void*, size_t, int, int, int, int64_t)> map64("mmap64");
constinit Replaced<int(unsigned)> sleepMicroseconds("usleep");
// The types of their arguments depend on the size of time_t with which the caller was compiled.
constinit Replaced<int(const void*, void*)> sleep("nanosleep");
constinit Replaced<int(clockid_t, int, const void*, void*)> sleepByClock("clock_nanosleep");
#if !defined(__LP64__)
constinit Replaced<int(const void*, void*)> sleep64("__nanosleep64");
constinit Replaced<int(clockid_t, int, const void*, void*)> sleepByClock64("__clock_nanosleep_time64");
#endif

/// What the application has opened as the region and is about to map; -1 for nothing.
std::atomic<int> opened{-1};

/// The region as a file. Reading that is safe when the region has shrunk, where the mapping ends the process.
std::atomic<int> region{-1};

pthread_mutex_t lastMutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;
std::array<char, kRegionSize> last; ///< the text at the last look, with lastMutex
std::size_t lastSize = 0;
bool wasLookedAt = false;

void recordIfChanged(std::string_view text, const char* seen) noexcept {
    if (pthread_mutex_lock(&lastMutex) != 0)
        return;
    const bool isChanged = !wasLookedAt || text != std::string_view(last.data(), lastSize);
    if (isChanged) {
        JsonLine line("region");
        line.text("text", text).text("seen", seen);
        recording().write(line);
        std::memcpy(last.data(), text.data(), text.size());
        lastSize = text.size();
        wasLookedAt = true;
    }
    pthread_mutex_unlock(&lastMutex);
}

void keepOpen(int descriptor) {
    const int kept = fcntl(descriptor, F_DUPFD_CLOEXEC, kHighDescriptor);
    const int before = region.exchange(kept);
    if (before >= 0)
        close(before);
}

template <typename Map, typename Offset>
void* mapAndLook(Map& original, void* address, size_t size, int protection, int flags, int descriptor, Offset offset) {
    void* const memory = original(address, size, protection, flags, descriptor, offset);
    if (descriptor < 0 || descriptor != opened.load(std::memory_order_relaxed))
        return memory;
    const Unnoticed recorded;
    opened.store(-1, std::memory_order_relaxed);
    JsonLine line("map");
    line.text("name", kRegionName).number("size", static_cast<int64_t>(size));
    line.number("r", memory == MAP_FAILED ? -errno : 0);
    recording().write(line);
    if (memory != MAP_FAILED) {
        keepOpen(descriptor);
        lookAtRegion("map");
    }
    return memory;
}

int andLook(int result) {
    lookAtRegion("poll");
    return result;
}

} // namespace

void lookAtRegion(const char* seen) noexcept {
    const int descriptor = region.load(std::memory_order_relaxed);
    if (descriptor < 0)
        return;
    const Unnoticed recorded;
    std::array<char, kRegionSize> content; // NOLINT(cppcoreguidelines-pro-type-member-init)
    const ssize_t size = pread(descriptor, content.data(), content.size(), 0);
    if (size >= 0)
        recordIfChanged({content.data(), strnlen(content.data(), static_cast<std::size_t>(size))}, seen);
}

int openSharedMemory(const char* name, int flags, mode_t mode) ZUV_REPLACES("shm_open");
int openSharedMemory(const char* name, int flags, mode_t mode) {
    const int descriptor = openRegion.original()(name, flags, mode);
    if (descriptor >= 0 && kRegionName == name)
        opened.store(descriptor, std::memory_order_relaxed);
    return descriptor;
}

void* mapMemory(void*, size_t, int, int, int, long) ZUV_REPLACES("mmap");
void* mapMemory(void* address, size_t size, int protection, int flags, int descriptor, long offset) {
    return mapAndLook(*map.original(), address, size, protection, flags, descriptor, offset);
}

void* mapMemory64(void*, size_t, int, int, int, int64_t) ZUV_REPLACES("mmap64");
void* mapMemory64(void* address, size_t size, int protection, int flags, int descriptor, int64_t offset) {
    return mapAndLook(*map64.original(), address, size, protection, flags, descriptor, offset);
}

int sleepForMicroseconds(unsigned time) ZUV_REPLACES("usleep");
int sleepForMicroseconds(unsigned time) {
    return andLook(sleepMicroseconds.original()(time));
}

int sleepFor(const void* time, void* rest) ZUV_REPLACES("nanosleep");
int sleepFor(const void* time, void* rest) {
    return andLook(sleep.original()(time, rest));
}

int sleepForByClock(clockid_t, int, const void*, void*) ZUV_REPLACES("clock_nanosleep");
int sleepForByClock(clockid_t clock, int flags, const void* time, void* rest) {
    return andLook(sleepByClock.original()(clock, flags, time, rest));
}

#if !defined(__LP64__)
int sleepFor64(const void* time, void* rest) ZUV_REPLACES("__nanosleep64");
int sleepFor64(const void* time, void* rest) {
    return andLook(sleep64.original()(time, rest));
}

int sleepForByClock64(clockid_t, int, const void*, void*) ZUV_REPLACES("__clock_nanosleep_time64");
int sleepForByClock64(clockid_t clock, int flags, const void* time, void* rest) {
    return andLook(sleepByClock64.original()(clock, flags, time, rest));
}
#endif

} // namespace velmora::trace
