#include "desktop/log/log_from_c.h"

#include "csp_debug.h"

void logFromC(int number) {
    static const struct CspDebugLevel level = {{0x005F0001u, 0u, 0u}};
    if (cspDebugCheckLevelGetFrameAndChunk(&level))
        cspDebugOutput0("from C: %d\n", number);
}
