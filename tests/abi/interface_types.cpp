// Every class whose layout somebody outside relies on, or that the client's own layout is promised for, and the log's
// functions. Compiled with the debug information of all of them, for the record of the interface; never run.
#include "csp_debug.h"
#include "zuv_media_manager_interface_impl.h"
#include "zuv_media_proxy.h"
#include "zuv_media_proxy_manager.h"
#include "zuv_media_proxy_object.h"
#include "zuv_model_access.h"

namespace velmora {

struct LogFunctions {
    decltype(&::cspDebugCheckLevelGetFrameAndChunk) cspDebugCheckLevelGetFrameAndChunk;
    decltype(&::cspDebugOutput0) cspDebugOutput0;
    decltype(&::blog_base_name) blog_base_name;
};

// The classes are reached from an exported symbol: a reader of debug information looks at nothing else.
__attribute__((visibility("default"))) void interfaceTypes(CspDebugLevel*, LogFunctions*, IZuvModelAccess*,
                                                           ZUVModelAccess*, ZUVModelAccessClient*,
                                                           ZUVMediaProxyInterface*, ZUVMediaProxyManagerInterface*,
                                                           ZUVMediaProxyManagerInterfaceImpl*, ZUVMediaProxyManager*,
                                                           ZUVMediaProxyObject*) {}

} // namespace velmora
