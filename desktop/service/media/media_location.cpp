#include "service/media/media_location.h"

#include "base/quoted_text.h"
#include "service/media/glib_text.h"
#include "service/protocol/result_code.h"

#include <fmt/format.h>

#include <string_view>

namespace velmora::desktop {

namespace {

/// The path in an absolute path or a file URL; empty when the text is neither.
std::filesystem::path localPath(const std::string& url) {
    if (url.starts_with('/'))
        return url;
    char* host = nullptr;
    const GlibText path(g_filename_from_uri(url.c_str(), &host, nullptr));
    const GlibText ownedHost(host);
    const bool here = host == nullptr || std::string_view(host) == "localhost";
    return path && here ? path.get() : "";
}

void requireRegularFile(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status))
        throw CommandFailure(ResultCode::NotFound,
                             fmt::format("Cannot open {}: {}", inQuotes(file.native()), error.message()));
    if (!std::filesystem::is_regular_file(status))
        throw CommandFailure(ResultCode::Unplayable, fmt::format("{} is no regular file", inQuotes(file.native())));
}

} // namespace

bool isHttp(const std::string& url) {
    return g_ascii_strncasecmp(url.c_str(), "http://", 7) == 0 || g_ascii_strncasecmp(url.c_str(), "https://", 8) == 0;
}

MediaLocation locateMedia(const std::string& url) {
    const bool whole = url.find('\0') == std::string::npos;
    if (whole && isHttp(url))
        return {url, {}};
    const std::filesystem::path file = whole ? localPath(url) : "";
    if (file.empty())
        throw CommandFailure(
            ResultCode::BadCommand,
            fmt::format("Neither an absolute path nor a file, http or https URL: {}", inQuotes(url.substr(0, 512))));
    requireRegularFile(file);
    const GlibText uri(g_filename_to_uri(file.c_str(), nullptr, nullptr));
    return {uri.get(), file};
}

} // namespace velmora::desktop
