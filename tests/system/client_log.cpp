#include "system/client_log.h"

#include "base/mutex.h"
#include "csp_debug.h"
#include "support/awaiting.h"
#include "support/text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <utility>

namespace velmora::system_test {
namespace {

constexpr uint32_t kLevelBits = 0xFFFFU;
constexpr uint32_t kProgress = 4000;

struct Record {
    desktop::Mutex mutex;
    desktop::ConditionVariable grew;
    std::vector<std::string> lines ZUV_GUARDED_BY(mutex);
    std::string heldText ZUV_GUARDED_BY(mutex);
    std::function<void()> whileHeld ZUV_GUARDED_BY(mutex);
};

// Never destroyed: the library's delivery thread logs until the process ends.
Record& record() {
    static auto& only = *new Record;
    return only;
}

bool contains(const std::string& line, const std::string& text) {
    return line.find(text) != std::string::npos;
}

std::size_t countIn(const std::vector<std::string>& lines, const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return contains(line, text); }));
}

void append(const std::string& line) {
    std::function<void()> action;
    {
        Record& log = record();
        const desktop::MutexLock lock(log.mutex);
        log.lines.push_back(line);
        log.grew.notifyAll();
        if (log.whileHeld && contains(line, log.heldText))
            action = std::exchange(log.whileHeld, nullptr);
    }
    if (action)
        action();
}

} // namespace

std::vector<std::string> ClientLog::lines() {
    Record& log = record();
    const desktop::MutexLock lock(log.mutex);
    return log.lines;
}

std::size_t ClientLog::count(const std::string& text) {
    return countIn(lines(), text);
}

bool ClientLog::await(const std::string& text, std::size_t count) {
    Record& log = record();
    const desktop::MutexLock lock(log.mutex);
    return log.grew.waitFor(log.mutex, kPatience,
                            [&]() ZUV_REQUIRES(log.mutex) { return countIn(log.lines, text) >= count; });
}

void ClientLog::hold(const std::string& text, std::function<void()> action) {
    Record& log = record();
    const desktop::MutexLock lock(log.mutex);
    log.heldText = text;
    log.whileHeld = std::move(action);
}

} // namespace velmora::system_test

// The dynamic linker finds a program's own functions before those of the desktop's library.
extern "C" {

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel* descriptor) {
    using namespace velmora::system_test;
    return (descriptor->words[0] & kLevelBits) <= kProgress ? 1 : 0;
}

void cspDebugOutput0(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string line = velmora::formatted(format, arguments);
    va_end(arguments);
    line.erase(line.find_last_not_of('\n') + 1);
    velmora::system_test::append(line);
}
}
