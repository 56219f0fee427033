#include "csp_debug.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint32_t kLevelBits = 0xFFFF;
constexpr uint32_t kHighestLevel = 1000; // milestones and failures

} // namespace

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel* descriptor) {
    return (descriptor->words[0] & kLevelBits) <= kHighestLevel ? 1 : 0;
}

// One stdio call for each line, so that lines of several threads do not mix.
void cspDebugOutput0(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}

const char* blog_base_name(const char* path) {
    const char* const slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}
