// Loads the media proxy client as a web engine does: at run time, by its one exported C function.
#ifndef ZUV_EXAMPLES_PLAYER_PROXY_LIBRARY_H
#define ZUV_EXAMPLES_PLAYER_PROXY_LIBRARY_H

#include "zuv_media_proxy.h"

#include <string>

/// Loads the library and connects it to the bus. It stays loaded until the process ends.
/// @param path a file, or a bare name for the dynamic linker to find.
/// @return the manager interface; never null.
/// @throws std::runtime_error with the dynamic linker's words when it cannot be loaded or is not the right
/// library.
velmora::ZUVMediaProxyManagerInterface& loadProxyLibrary(const std::string& path);

#endif // ZUV_EXAMPLES_PLAYER_PROXY_LIBRARY_H
