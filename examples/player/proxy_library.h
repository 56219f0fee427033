// Loads the media proxy client like a web engine does: at run time, through its exported C function.
#ifndef ZUV_EXAMPLES_PLAYER_PROXY_LIBRARY_H
#define ZUV_EXAMPLES_PLAYER_PROXY_LIBRARY_H

#include "zuv_media_proxy.h"

#include <string>

/// Loads the library and connects it to the bus. It stays loaded until the process ends.
///
/// @param path a file, or a bare name that the dynamic linker searches for.
/// @return the manager interface; never null.
/// @throws std::runtime_error with the dynamic linker's message if it cannot be loaded or is not the right library.
velmora::ZUVMediaProxyManagerInterface& loadProxyLibrary(const std::string& path);

#endif // ZUV_EXAMPLES_PLAYER_PROXY_LIBRARY_H
