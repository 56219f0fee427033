// The qualities in which a medium is available.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_DEFINITIONS_H
#define ZUV_DESKTOP_SERVICE_MEDIA_DEFINITIONS_H

#include <filesystem>
#include <string>
#include <vector>

namespace velmora::desktop {

/// One quality in which a medium is available.
struct Definition {
    std::string name; ///< the height of the video, as in "240p", or "audio"
    std::string url;  ///< local URL
};

/// A file that holds a medium in another quality.
struct QualityFile {
    int height; ///< of the video, in lines
    std::filesystem::path file;
};

/// The other qualities of a local medium NAME.EXT: the files NAME.<height>p.EXT in the same folder, lowest first. Empty
/// when there are none or the folder cannot be read.
std::vector<QualityFile> qualityFiles(const std::filesystem::path& medium);

/// The definitions text of an event: a JSON array of objects with the members "definition" and "url".
std::string definitionsText(const std::vector<Definition>& definitions);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_DEFINITIONS_H
