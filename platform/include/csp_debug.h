/*
 * The platform's logging facility, as the client library sees it. Plain C, so that C code can log as well.
 *
 * A line is put out in two steps, so that a switched-off line costs one call and no formatting:
 *
 *     static const struct CspDebugLevel level = {{0x005F03E8u, 0u, 0u}};
 *     if (cspDebugCheckLevelGetFrameAndChunk(&level))
 *         cspDebugOutput0("%s: failed\n", blog_base_name(__FILE__));
 *
 * All three operations may be called from any thread, at the same time, and with any lock held: they take no
 * lock that a caller could hold and call nothing back.
 */
#ifndef ZUV_CSP_DEBUG_H
#define ZUV_CSP_DEBUG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Says what kind of line is about to be put out. */
struct CspDebugLevel {
    /* words[0]: module number in the upper 16 bits, level in the lower 16 (lower level: more important line);
       words[1] and words[2]: 0. */
    uint32_t words[3];
};

/* Non-zero when a line of this module and level is wanted, 0 when it is to be left out. */
int cspDebugCheckLevelGetFrameAndChunk(const struct CspDebugLevel* descriptor);

/* Puts one line out. `format` and its arguments are those of printf; a line end belongs to the format. */
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
void cspDebugOutput0(const char* format, ...);

/* The part of `path` behind its last '/', or all of it when there is none: a pointer into `path` itself. */
const char* blog_base_name(const char* path);

#ifdef __cplusplus
}
#endif

#endif /* ZUV_CSP_DEBUG_H */
