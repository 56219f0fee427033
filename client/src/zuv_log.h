// The library's log lines: module number, levels and the common beginning of a line.
#ifndef ZUV_LOG_H
#define ZUV_LOG_H

#include "csp_debug.h"

namespace velmora {

consteval CspDebugLevel logLevel(uint32_t level) {
    constexpr uint32_t module = 0x5F;
    return {{module << 16 | level, 0, 0}};
}

inline constexpr CspDebugLevel kMilestone = logLevel(1);
inline constexpr CspDebugLevel kFailure = logLevel(1000);
inline constexpr CspDebugLevel kProgress = logLevel(4000);
inline constexpr CspDebugLevel kDump = logLevel(5000);

} // namespace velmora

/// ZUV_LOG(level, text, ...) puts out a line of the operation that it stands in: file, line and function are
/// those of the place of use, which is why this is a macro. `text` is a literal with its line end; its
/// arguments follow.
#define ZUV_LOG(level, ...) ZUV_LOG_AS(__func__, level, __VA_ARGS__)

/// The same for a helper that logs in the name of the operation `function` that called it.
#define ZUV_LOG_AS(function, level, text, ...)                                                                         \
    do {                                                                                                               \
        if (cspDebugCheckLevelGetFrameAndChunk(&(level)))                                                              \
            cspDebugOutput0("[%s] %s:%d:%s(): " text, "B-LOG", blog_base_name(__FILE__), __LINE__,                     \
                            function __VA_OPT__(, ) __VA_ARGS__);                                                      \
    } while (false)

#endif // ZUV_LOG_H
