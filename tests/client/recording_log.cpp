#include "client/recording_log.h"

#include "client/failing_calls.h"
#include "client/journal.h"
#include "client/log_line.h"
#include "csp_debug.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>

namespace velmora::test {

RecordingLog& recordingLog() {
    static RecordingLog instance;
    return instance;
}

namespace {

constexpr std::string_view kCommonBeginning = "[%s] %s:%d:%s(): ";
constexpr std::string_view kTraceBeginning = "[TRACE ";

// What the last question of this thread was answered with; a line takes it, since every line asks for itself.
thread_local std::string permittedLevel;

std::string takePermittedLevel() {
    std::string level = permittedLevel.empty() ? "level that nobody asked for" : permittedLevel;
    permittedLevel.clear();
    return level;
}

// The texts that blog_base_name gave out: a line's file must be one of them.
class BaseNames {
public:
    const char* add(const char* name) {
        std::lock_guard lock(m_mutex);
        m_names.insert(name);
        return name;
    }
    void check(const char* name) {
        std::lock_guard lock(m_mutex);
        EXPECT_TRUE(m_names.contains(name)) << name << " is not from blog_base_name";
    }

private:
    std::mutex m_mutex;
    std::set<const void*> m_names;
};

BaseNames& baseNames() {
    static BaseNames instance;
    return instance;
}

// The places in the code that lines said they come from: no two formats stand in one place.
class Places {
public:
    void check(const std::string& file, int line, const std::string& format) {
        std::lock_guard lock(m_mutex);
        const std::string& known = m_formats.emplace(std::pair(file, line), format).first->second;
        EXPECT_EQ(format, known) << "both at line " << line << " of " << file;
    }

private:
    std::mutex m_mutex;
    std::map<std::pair<std::string, int>, std::string> m_formats;
};

Places& places() {
    static Places instance;
    return instance;
}

/// Where a line says that it comes from.
struct Origin {
    std::string file;
    int line;
    std::string function;

    std::string text() const { return file + ":" + std::to_string(line) + ":" + function + "(): "; }
};

Origin takeOrigin(va_list arguments) {
    const char* file = va_arg(arguments, const char*);
    const int line = va_arg(arguments, int);
    const char* function = va_arg(arguments, const char*);
    baseNames().check(file);
    EXPECT_GT(line, 0);
    return {file, line, function};
}

/// @param text what the format and its arguments give.
std::string describeLine(const std::string& level, const std::string& format, const std::string& text,
                         va_list arguments) {
    if (format.starts_with(kCommonBeginning)) {
        const std::string tag = va_arg(arguments, const char*);
        const Origin origin = takeOrigin(arguments);
        places().check(origin.file, origin.line, format);
        const std::string message = text.substr(("[" + tag + "] " + origin.text()).size());
        return describeOrdinaryLine(level, tag, origin.file, origin.function, format.substr(kCommonBeginning.size()),
                                    message);
    }
    if (format.starts_with(kTraceBeginning)) {
        const std::string first = va_arg(arguments, const char*);
        const Origin origin = takeOrigin(arguments);
        return describeTraceLine(level, origin.file, first, origin.function, format);
    }
    return "log " + level + " of no known form: " + quoted(format) + " gives " + quoted(text);
}

} // namespace

} // namespace velmora::test

using namespace velmora::test;

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel* descriptor) {
    const OwnWork work;
    const bool wanted = (descriptor->words[0] & 0xFFFF) <= recordingLog().wantedUpTo;
    permittedLevel = wanted ? describeLevel(descriptor->words[0], descriptor->words[1], descriptor->words[2]) : "";
    // Any number but 0 says yes.
    return wanted ? -2 : 0;
}

void cspDebugOutput0(const char* format, ...) {
    const OwnWork work;
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const std::string text = formatted(format, again);
    va_end(again);
    const std::string line = describeLine(takePermittedLevel(), format, text, arguments);
    va_end(arguments);
    journal().add(line);
    if (recordingLog().onLine)
        recordingLog().onLine(line);
}

const char* blog_base_name(const char* path) {
    const OwnWork work;
    const char* slash = std::strrchr(path, '/');
    return baseNames().add(slash == nullptr ? path : slash + 1);
}
