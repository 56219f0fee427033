/* A C program that logs: lines of every kind of length and level. */
#include "csp_debug.h"

#include <string.h>

static void logChecked(uint32_t word, const char* text) {
    const struct CspDebugLevel level = {{word, 0u, 0u}};
    if (cspDebugCheckLevelGetFrameAndChunk(&level))
        cspDebugOutput0("%s %d%%\n", text, 42);
}

int main(void) {
    static char longText[5000];
    memset(longText, 'x', sizeof longText - 1);
    logChecked(0x005F0001u, "milestone");
    logChecked(0x00120FA0u, "not logged");
    logChecked(0x001203E8u, "failure\nin two lines");
    cspDebugOutput0("%s\n", longText);
    cspDebugOutput0("no line end");
    cspDebugOutput0("\n\n");
    cspDebugOutput0("a byte \xFF\n");
    return 0;
}
