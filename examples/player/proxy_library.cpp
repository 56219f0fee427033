#include "proxy_library.h"

#include <dlfcn.h>

#include <stdexcept>

velmora::ZUVMediaProxyManagerInterface& loadProxyLibrary(const std::string& path) {
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw std::runtime_error(std::string("cannot load the media proxy library: ") + dlerror());
    void* const symbol = dlsym(library, "requestZUVMediaProxy");
    if (symbol == nullptr)
        throw std::runtime_error(std::string("not a media proxy library: ") + dlerror());
    const auto request = reinterpret_cast<decltype(&requestZUVMediaProxy)>(symbol);
    return *request();
}
