// zuv-web-engine: a small browser whose pages play through the media proxy. It shows how a web engine uses the kit.
#include "browser.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    const bool hasSandbox = argc < 2 || std::strcmp(argv[1], "--no-sandbox") != 0;
    const int urlIndex = hasSandbox ? 1 : 2;
    if (argc != urlIndex + 1) {
        std::fputs("usage: zuv-web-engine [--no-sandbox] URL\n", stderr);
        return 2;
    }
    if (!gtk_init_check(nullptr, nullptr)) {
        std::fputs("zuv-web-engine: there is no display; DISPLAY names one\n", stderr);
        return 1;
    }
    runBrowser(argv[urlIndex], hasSandbox);
    return 0;
}
