// What a served playlist refers to.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_PLAYLIST_SIBLINGS_H
#define ZUV_DESKTOP_SERVICE_HTTP_PLAYLIST_SIBLINGS_H

#include "service/media/media_location.h"

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmora::desktop {

/// Finds what a playlist refers to, in the playlist's own folder and below it. Of a local playlist that is what it
/// names, or what a playlist names that it names; of an http or https playlist everything below its URL's folder, for
/// its server to decide. Never a hidden file, nor one outside the folder, also by way of symbolic links. One thread.
class PlaylistSiblings {
public:
    explicit PlaylistSiblings(const MediaLocation& playlist);

    /// The playlist's own name in its folder, decoded.
    const std::string& name() const { return m_name; }

    /// @param target the part of a request target that follows the folder: encoded, with its query.
    std::optional<MediaLocation> find(const std::string& target);

private:
    /// What the files of a playlist are called, relative to the folder, until the playlist changes.
    struct NamedFiles {
        std::filesystem::file_time_type modified;
        bool master = false;
        std::set<std::string> names = {};
        std::vector<std::string> patterns = {}; ///< with kAnyNumber
    };

    bool isNamed(const std::string& name);
    const NamedFiles& namedBy(const std::string& playlist);
    std::optional<std::filesystem::path> fileInside(const std::string& name) const;

    const MediaLocation m_playlist;
    const std::string m_name;
    std::map<std::string, NamedFiles> m_named; ///< by the playlist's name; of a local one only
};

/// The request target that find() takes, of what a playlist refers to; without a value for what it does not find.
std::optional<std::string> targetOf(const MediaLocation& playlist, const std::string& reference);

/// A name as find() takes it.
std::string encoded(const std::string& name);

/// The name of a file in a folder or below it, without "." and "..", that a reference in a file of a folder leads to.
/// @param folder of the file that contains the reference, relative to the outermost one: "" or "a/b/".
/// @return no value for a reference that leads out of the outermost folder, or to a hidden file.
std::optional<std::string> nameOfReference(const std::string& folder, const std::string& reference);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_PLAYLIST_SIBLINGS_H
