// Loads the client library.
#ifndef ZUV_ENGINE_CLIENT_LIBRARY_H
#define ZUV_ENGINE_CLIENT_LIBRARY_H

#include "zuv_media_proxy.h"

#include <string>

namespace velmora::engine {

/// Loads the library, or finds the one that is loaded, and connects it to the bus; it stays loaded. Several threads may
/// call this at a time, as the library's own entry point does not allow.
///
/// @param name as for dlopen().
/// @throws std::runtime_error with the reason if it cannot be loaded.
ZUVMediaProxyManagerInterface& loadClientLibrary(const std::string& name);

} // namespace velmora::engine

#endif // ZUV_ENGINE_CLIENT_LIBRARY_H
