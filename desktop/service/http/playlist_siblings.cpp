#include "service/http/playlist_siblings.h"

#include "service/media/glib_text.h"
#include "service/media/media_request.h"
#include "service/media/playlist.h"

#include <algorithm>
#include <string_view>

namespace velmora::desktop {

namespace {

std::string folderOf(const std::string& name) {
    return name.substr(0, name.rfind('/') + 1);
}

/// The URL of a playlist without its name, query and fragment.
std::string folderUrl(const std::string& url) {
    return folderOf(url.substr(0, url.find_first_of("?#")));
}

std::string nameOf(const MediaLocation& playlist) {
    if (!playlist.file.empty())
        return playlist.file.filename();
    const std::string reference = playlist.uri.substr(folderUrl(playlist.uri).size());
    return nameOfReference("", reference).value_or("playlist");
}

bool hasScheme(std::string_view reference) {
    return reference.substr(0, reference.find('/')).find(':') != std::string_view::npos;
}

/// Without a value for what is no name of a visible file.
std::optional<std::string> decodedSegment(const std::string& segment) {
    const GlibText decoded(g_uri_unescape_segment(segment.c_str(), nullptr, "/"));
    const std::string name = decoded ? decoded.get() : "";
    if (name.empty() || name.front() == '.' || name.find('\\') != std::string::npos)
        return std::nullopt;
    return name;
}

/// A number in the pattern stands for all digits that follow in the name.
bool matches(std::string_view pattern, std::string_view name) {
    while (true) {
        const std::size_t number = std::min(pattern.find(kAnyNumber), pattern.size());
        if (!name.starts_with(pattern.substr(0, number)))
            return false;
        name.remove_prefix(number);
        if (number == pattern.size())
            return name.empty();
        const std::size_t digits = std::min(name.find_first_not_of("0123456789"), name.size());
        if (digits == 0)
            return false;
        name.remove_prefix(digits);
        pattern.remove_prefix(number + 1);
    }
}

} // namespace

PlaylistSiblings::PlaylistSiblings(const MediaLocation& playlist) : m_playlist(playlist), m_name(nameOf(playlist)) {}

std::optional<MediaLocation> PlaylistSiblings::find(const std::string& target) {
    const std::optional<std::string> name = nameOfReference("", target);
    if (!name)
        return std::nullopt;
    if (*name == m_name)
        return m_playlist;
    if (m_playlist.file.empty())
        return MediaLocation{folderUrl(m_playlist.uri) + target, {}};
    const std::optional<std::filesystem::path> file = isNamed(*name) ? fileInside(*name) : std::nullopt;
    return file ? std::optional(MediaLocation{"", *file}) : std::nullopt;
}

bool PlaylistSiblings::isNamed(const std::string& name) {
    const auto names = [&](const NamedFiles& files) {
        return files.names.contains(name) || std::any_of(files.patterns.begin(), files.patterns.end(),
                                                         [&](const auto& pattern) { return matches(pattern, name); });
    };
    const NamedFiles& own = namedBy(m_name);
    if (names(own))
        return true;
    return own.master && std::any_of(own.names.begin(), own.names.end(),
                                     [&](const std::string& playlist) { return names(namedBy(playlist)); });
}

const PlaylistSiblings::NamedFiles& PlaylistSiblings::namedBy(const std::string& playlist) {
    NamedFiles& files = m_named[playlist];
    const auto file = playlist == m_name ? m_playlist.file : fileInside(playlist).value_or("");
    std::error_code error;
    const auto modified = std::filesystem::last_write_time(file, error);
    if (!error && modified == files.modified)
        return files;
    files = {modified};
    const std::optional<Playlist> read = parsePlaylist(readPlaylist(file));
    if (!read)
        return files;
    files.master = read->master;
    for (const std::string& reference : read->references) {
        const std::optional<std::string> name = nameOfReference(folderOf(playlist), reference);
        if (name && name->find(kAnyNumber) != std::string::npos)
            files.patterns.push_back(*name);
        else if (name)
            files.names.insert(*name);
    }
    return files;
}

std::optional<std::filesystem::path> PlaylistSiblings::fileInside(const std::string& name) const {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::canonical(m_playlist.file.parent_path(), error);
    const std::filesystem::path file = error ? folder : std::filesystem::canonical(folder / name, error);
    if (error)
        return std::nullopt;
    const std::filesystem::path inside = file.lexically_relative(folder);
    const bool visible = std::none_of(inside.begin(), inside.end(),
                                      [](const auto& segment) { return segment.native().starts_with('.'); });
    return visible ? std::optional(file) : std::nullopt;
}

std::optional<std::string> targetOf(const MediaLocation& playlist, const std::string& reference) {
    if (!playlist.file.empty()) {
        const std::optional<std::string> name = nameOfReference("", reference);
        return name ? std::optional(encoded(*name)) : std::nullopt;
    }
    const std::string url = resolvedUrl(playlist.uri, reference);
    const std::string folder = folderUrl(playlist.uri);
    const std::string target = url.starts_with(folder) ? url.substr(folder.size()) : "";
    return nameOfReference("", target) ? std::optional(target) : std::nullopt;
}

std::string encoded(const std::string& name) {
    return GlibText(g_uri_escape_string(name.c_str(), "/", FALSE)).get();
}

std::optional<std::string> nameOfReference(const std::string& folder, const std::string& reference) {
    std::string_view path = std::string_view(reference).substr(0, reference.find_first_of("?#"));
    if (path.empty() || path.front() == '/' || path.back() == '/' || hasScheme(path))
        return std::nullopt;
    std::string name = folder;
    while (!path.empty()) {
        const std::string segment(path.substr(0, path.find('/')));
        path.remove_prefix(std::min(segment.size() + 1, path.size()));
        if (segment == ".." && name.empty())
            return std::nullopt;
        if (segment == "..")
            name = folderOf(name.substr(0, name.size() - 1));
        if (segment.empty() || segment == "." || segment == "..")
            continue;
        const std::optional<std::string> decoded = decodedSegment(segment);
        if (!decoded)
            return std::nullopt;
        name += *decoded + (path.empty() ? "" : "/");
    }
    return name.empty() || name.ends_with('/') ? std::nullopt : std::optional(name);
}

} // namespace velmora::desktop
