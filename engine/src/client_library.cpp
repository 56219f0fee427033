#include "client_library.h"

#include <dlfcn.h>

#include <mutex>
#include <stdexcept>

namespace velmora::engine {

ZUVMediaProxyManagerInterface& loadClientLibrary(const std::string& name) {
    static std::mutex firstCall;
    const std::lock_guard lock(firstCall);
    void* const library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const symbol = library == nullptr ? nullptr : dlsym(library, "requestZUVMediaProxy");
    if (symbol == nullptr)
        throw std::runtime_error(dlerror());
    return *reinterpret_cast<decltype(&requestZUVMediaProxy)>(symbol)();
}

} // namespace velmora::engine
