#include "zuv_media_proxy.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

// Runs on a thread of the library's bus connection: it must return soon, and must not call the proxy.
static void onChanged(std::string id, std::string changed, std::string value) {
    std::printf("%s: %s %s\n", id.c_str(), changed.c_str(), value.c_str());
}

int main(int argc, char** argv) {
    void* library = dlopen("libzuv_media_proxy.so.1", RTLD_NOW);
    if (!library || argc != 2)
        return 1;
    auto request = reinterpret_cast<decltype(&requestZUVMediaProxy)>(dlsym(library, "requestZUVMediaProxy"));
    auto* manager = request();
    manager->setZUVCallback(onChanged);
    auto proxy = manager->createNewZUVMediaProxy();
    proxy->start(argv[1], 1);
    sleep(2);
    proxy->stop();
}
