// Every class whose layout somebody outside relies on, or that the client's own layout is promised for. Compiled with
// the debug information of all of them, for the record of the interface; never run.
#include "csp_debug.h"
#include "zuv_media_manager_interface_impl.h"
#include "zuv_media_proxy.h"
#include "zuv_media_proxy_manager.h"
#include "zuv_media_proxy_object.h"
#include "zuv_model_access.h"

namespace velmora {

// The classes are reached from an exported symbol: a reader of debug information looks at nothing else.
__attribute__((visibility("default"))) void interfaceTypes(CspDebugLevel*, IZuvModelAccess*, ZUVModelAccess*,
                                                           ZUVModelAccessClient*, ZUVMediaProxyInterface*,
                                                           ZUVMediaProxyManagerInterface*,
                                                           ZUVMediaProxyManagerInterfaceImpl*,
                                                           ZUVMediaProxyManager*, ZUVMediaProxyObject*) {}

} // namespace velmora
