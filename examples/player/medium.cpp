#include "medium.h"

#include "spelling.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

/// The scheme of a URL in lower case, without the colon; empty for anything else.
std::string schemeOf(const std::string& text) {
    const std::size_t colon = text.find(":/");
    if (colon == std::string::npos)
        return {};
    std::string scheme = text.substr(0, colon);
    if (!std::all_of(scheme.begin(), scheme.end(), [](unsigned char byte) { return std::isalnum(byte) != 0; }))
        return {};
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    return scheme;
}

/// Replaces each %XX by its byte.
std::string decoded(const std::string& text, const std::string& url) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        const char* const begin = text.data() + i + 1;
        const char* const end = text.data() + std::min(i + 3, text.size());
        unsigned byte = 0;
        if (end - begin != 2 || std::from_chars(begin, end, byte, 16).ptr != end || byte == 0)
            throw UsageError("not a URL: " + url + ": a % is followed by two hexadecimal digits, and is itself %25");
        bytes += static_cast<char>(byte);
        i += 2;
    }
    return bytes;
}

/// The path in a file URL: file:///path, file://localhost/path or file:/path.
std::string pathIn(const std::string& url) {
    std::string rest = url.substr(url.find(':') + 1);
    if (rest.rfind("//", 0) == 0) {
        const std::size_t slash = rest.find('/', 2);
        const std::string host = rest.substr(2, slash == std::string::npos ? slash : slash - 2);
        if (slash == std::string::npos || (!host.empty() && host != "localhost"))
            throw UsageError("not a file of this machine: " + url + "; did you mean \"file:///" + rest.substr(2) +
                             "\"?");
        rest.erase(0, slash);
    }
    return decoded(rest, url);
}

std::string absolutePath(const std::string& path) {
    if (!fs::exists(path))
        throw std::runtime_error("no such media file: " + path);
    if (!fs::is_regular_file(path))
        throw std::runtime_error("not a regular file: " + path);
    return fs::canonical(path).string();
}

} // namespace

std::string resolveMedium(const std::string& medium) {
    const std::string scheme = fs::exists(medium) ? "" : schemeOf(medium);
    if (scheme.empty())
        return absolutePath(medium);
    if (scheme == "file")
        return absolutePath(pathIn(medium));
    if (scheme == "http" || scheme == "https")
        return scheme + medium.substr(scheme.size());
    throw UsageError("cannot play " + scheme + ": URLs, only file:, http: and https: URLs" +
                     suggestion(scheme, {"file", "http", "https"}, ":"));
}
