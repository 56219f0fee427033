#include "trace/recorder/replaced_function.h"

#include <dlfcn.h>
#include <link.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace velmora::trace {
namespace {

/// Looks into each loaded object and what it was linked with.
void* definitionInAnyObject(const char* symbol, const void* own) {
    void* const program = dlopen(nullptr, RTLD_LAZY);
    link_map* object = nullptr;
    dlinfo(program, RTLD_DI_LINKMAP, &object);
    void* found = nullptr;
    for (; object != nullptr && found == nullptr; object = object->l_next) {
        void* const handle = dlopen(object->l_name, RTLD_LAZY | RTLD_NOLOAD);
        if (handle == nullptr)
            continue;
        void* const defined = dlsym(handle, symbol);
        if (defined != own)
            found = defined;
        dlclose(handle);
    }
    dlclose(program);
    return found;
}

} // namespace

// RTLD_NEXT does not look into what a program has loaded for itself alone, as web engines load the client.
void* nextDefinition(const char* symbol) {
    const int error = errno;
    void* found = dlsym(RTLD_NEXT, symbol);
    if (found == nullptr)
        found = definitionInAnyObject(symbol, dlsym(RTLD_DEFAULT, symbol));
    if (found == nullptr) {
        std::fprintf(stderr, "libzuv_trace.so: no library defines %s\n", symbol);
        std::abort();
    }
    dlerror(); // what the program asks for next concerns its own calls
    errno = error;
    return found;
}

} // namespace velmora::trace
