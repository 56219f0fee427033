// Starts a title as often as the argument says, on a platform that does nothing. What a run with more starts takes more
// than one with fewer is what the client itself spends on them: scripts/device-figures counts the instructions.
#include "csp_debug.h"
#include "zuv_media_proxy.h"
#include "zuv_model_access.h"

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace velmora {

IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient*) {}

ZUVModelAccess::~ZUVModelAccess() = default;

int ZUVModelAccess::initialize() {
    return 0;
}

int ZUVModelAccess::start() {
    return 0;
}

int ZUVModelAccess::startService() {
    return 0;
}

int ZUVModelAccess::read(const std::string&, std::vector<std::string>&) {
    return 0;
}

int ZUVModelAccess::publish(std::string, std::vector<std::string>) {
    return 0;
}

} // namespace velmora

extern "C" {

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel*) {
    return 0;
}

void cspDebugOutput0(const char*, ...) {}

const char* blog_base_name(const char* path) {
    const char* const slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

} // extern "C"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: start_instructions STARTS\n";
        return EXIT_FAILURE;
    }
    const auto proxy = requestZUVMediaProxy()->createNewZUVMediaProxy("object");
    for (int remaining = std::atoi(argv[1]); remaining > 0; --remaining)
        proxy->start("http://127.0.0.1/title", 1);
}
