#include "zuv_media_proxy.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

static void onNews(std::string id, std::string changed,
                   std::string value) { // a callback hands on and returns
    std::printf("%s: %s %s\n", id.c_str(), changed.c_str(), value.c_str());
}

int main(int argc, char** argv) {
    void* library = dlopen("libzuv_media_proxy.so.1", RTLD_NOW);
    if (!library || argc != 2)
        return 1;
    auto request = reinterpret_cast<decltype(&requestZUVMediaProxy)>(dlsym(library, "requestZUVMediaProxy"));
    auto* manager = request();
    manager->setZUVCallback(onNews);
    auto proxy = manager->createNewZUVMediaProxy();
    proxy->start(argv[1], 1);
    sleep(2);
    proxy->stop();
}
