#include "csp_debug.h"

#include "log/desktop_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr uint32_t kLevelBits = 0xFFFFU;

// A format that vsnprintf rejects is written unchanged, so that the line is not lost.
[[gnu::format(printf, 1, 0)]] std::string formatLine(const char* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0)
        return format;
    std::string line(static_cast<size_t>(length), '\0');
    std::vsnprintf(line.data(), line.size() + 1, format, arguments);
    return line;
}

} // namespace

extern "C" {

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel* descriptor) {
    return velmora::desktop::isLogged(static_cast<int>(descriptor->words[0] & kLevelBits)) ? 1 : 0;
}

void cspDebugOutput0(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string line = formatLine(format, arguments);
    va_end(arguments);
    velmora::desktop::writeLogLine(line);
}

const char* blog_base_name(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}
}
