// The library's log lines: module number, levels, and the prefix that lines have in common.
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

/// ZUV_LOG(level, text, ...) logs a line with the file, line and function of the place where it is used, which is why
/// it is a macro. `text` is a format literal that ends with "\n"; its arguments follow.
#define ZUV_LOG(level, ...) ZUV_LOG_AS(__func__, level, __VA_ARGS__)

/// The same for a helper function: logs under the name `function`, that of the operation that called the helper.
#define ZUV_LOG_AS(function, level, text, ...)                                                                         \
    do {                                                                                                               \
        if (cspDebugCheckLevelGetFrameAndChunk(&(level)))                                                              \
            cspDebugOutput0("[%s] %s:%d:%s(): " text, "B-LOG", blog_base_name(__FILE__), __LINE__,                     \
                            function __VA_OPT__(, ) __VA_ARGS__);                                                      \
    } while (false)

#endif // ZUV_LOG_H
