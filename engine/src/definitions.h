// Parses the service's text about a title's qualities.
#ifndef ZUV_ENGINE_DEFINITIONS_H
#define ZUV_ENGINE_DEFINITIONS_H

#include "zuv_media_session.h"

#include <string>
#include <vector>

namespace velmora::engine {

/// @param text a JSON array of objects with the texts "definition" and "url". Entries without both are left out.
/// @return empty when the text is anything else; never throws because of it.
std::vector<Definition> parseDefinitions(const std::string& text);

} // namespace velmora::engine

#endif // ZUV_ENGINE_DEFINITIONS_H
