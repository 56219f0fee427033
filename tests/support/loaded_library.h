// The shared object as an engine uses it: loaded at run time.
#ifndef ZUV_TESTS_SUPPORT_LOADED_LIBRARY_H
#define ZUV_TESTS_SUPPORT_LOADED_LIBRARY_H

#include "zuv_media_proxy.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace velmora {

/// The library, loaded for the length of a scope.
class LoadedLibrary {
public:
    explicit LoadedLibrary(const char* path) : m_handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (m_handle == nullptr)
            throw std::runtime_error(dlerror());
    }
    ~LoadedLibrary() { EXPECT_EQ(dlclose(m_handle), 0); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    /// What its entry point gives.
    ZUVMediaProxyManagerInterface* manager() const {
        return symbol<decltype(requestZUVMediaProxy)>("requestZUVMediaProxy")();
    }

    /// An exported function.
    template <typename Function>
    Function* symbol(const char* name) const {
        void* const address = dlsym(m_handle, name);
        if (address == nullptr)
            throw std::runtime_error(dlerror());
        return reinterpret_cast<Function*>(address);
    }

private:
    void* m_handle;
};

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_LOADED_LIBRARY_H
