/*
 * The platform's logging facility, as the client library sees it. Plain C, so that C code can log as well.
 *
 * A line is logged in two steps, so that a line of a disabled level costs one call and no formatting:
 *
 *     static const struct CspDebugLevel level = {{0x005F03E8u, 0u, 0u}};
 *     if (cspDebugCheckLevelGetFrameAndChunk(&level))
 *         cspDebugOutput0("%s: failed\n", blog_base_name(__FILE__));
 *
 * All three functions may be called from any thread, concurrently, and with any lock held: they take no lock that a
 * caller could hold, and they make no callbacks.
 */
#ifndef ZUV_CSP_DEBUG_H
#define ZUV_CSP_DEBUG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The module and the level of a line. */
struct CspDebugLevel {
    /* words[0]: the module number in the upper 16 bits, the level in the lower 16 (the lower, the more important);
       words[1] and words[2]: 0. */
    uint32_t words[3];
};

/* Returns non-zero if lines of this module and level are to be logged, 0 if not. */
int cspDebugCheckLevelGetFrameAndChunk(const struct CspDebugLevel* descriptor);

/* Logs one line, whatever its level. `format` and its arguments are those of printf; the format ends with "\n". */
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
void cspDebugOutput0(const char* format, ...);

/* Returns the part of `path` after its last '/', or all of it if there is none: a pointer into `path` itself. */
const char* blog_base_name(const char* path);

#ifdef __cplusplus
}
#endif

#endif /* ZUV_CSP_DEBUG_H */
