#include "service/http/file_response.h"

#include "base/file_descriptor.h"
#include "service/http/byte_range.h"
#include "service/http/conditional_request.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace velmora::desktop {

namespace {

struct ContentType {
    const char* extension;
    const char* type;
};

constexpr std::array<ContentType, 20> kContentTypes{{{".webm", "video/webm"},
                                                     {".mkv", "video/x-matroska"},
                                                     {".mp4", "video/mp4"},
                                                     {".m4v", "video/mp4"},
                                                     {".mov", "video/quicktime"},
                                                     {".avi", "video/x-msvideo"},
                                                     {".ts", "video/mp2t"},
                                                     {".ogv", "video/ogg"},
                                                     {".ogg", "audio/ogg"},
                                                     {".mp3", "audio/mpeg"},
                                                     {".m4a", "audio/mp4"},
                                                     {".flac", "audio/flac"},
                                                     {".wav", "audio/wav"},
                                                     {".aac", "audio/aac"},
                                                     {".opus", "audio/ogg"},
                                                     {".m3u8", "application/vnd.apple.mpegurl"},
                                                     {".m3u", "application/vnd.apple.mpegurl"},
                                                     {".mpd", "application/dash+xml"},
                                                     {".m4s", "video/iso.segment"},
                                                     {".vtt", "text/vtt"}}};

const char* contentType(const std::filesystem::path& file) {
    const std::string extension = file.extension().native();
    const auto found = std::find_if(kContentTypes.begin(), kContentTypes.end(), [&](const ContentType& known) {
        return strcasecmp(extension.c_str(), known.extension) == 0;
    });
    return found == kContentTypes.end() ? "application/octet-stream" : found->type;
}

/// Whether a file still has the same contents. Its names and links do not matter.
bool sameContents(const struct stat& before, const struct stat& now) {
    return before.st_size == now.st_size && before.st_mtim.tv_sec == now.st_mtim.tv_sec &&
           before.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

class FileBody final : public BodySource {
public:
    FileBody(FileDescriptor file, const struct stat& status, const ByteRange& bytes)
        : m_file(std::move(file)), m_status(status), m_next(bytes.first), m_left(bytes.length) {}

    ssize_t read(char* bytes, std::size_t size) override {
        if (m_left == 0)
            return kEnd;
        const ssize_t count =
            pread(m_file.get(), bytes, std::min<std::uint64_t>(size, m_left), static_cast<off_t>(m_next));
        struct stat now = {};
        // The check follows the reading: bytes that were read before a change are of the old contents.
        if (count <= 0 || fstat(m_file.get(), &now) != 0 || !sameContents(m_status, now))
            return kFailed;
        m_next += static_cast<std::uint64_t>(count);
        m_left -= static_cast<std::uint64_t>(count);
        return count;
    }

private:
    const FileDescriptor m_file;
    const struct stat m_status;
    std::uint64_t m_next;
    std::uint64_t m_left;
};

Validators validatorsOf(const struct stat& status) {
    return {fmt::format("\"{:x}-{:x}-{:x}.{:x}\"", status.st_ino, status.st_size, status.st_mtim.tv_sec,
                        status.st_mtim.tv_nsec),
            status.st_mtim.tv_sec};
}

RequestedBytes bytesFor(const HttpRequest& request, const Validators& current, std::uint64_t size) {
    const bool ranged = request.method == "GET" && rangeApplies(request, current);
    return requestedBytes(ranged ? request.field("Range") : "", size);
}

/// The head of a response to a request whose conditions are met.
ResponseHead describe(const RequestedBytes& requested, std::uint64_t size) {
    using Kind = RequestedBytes::Kind;
    if (requested.kind == Kind::Impossible)
        return {416, {{"Content-Range", fmt::format("bytes */{}", size)}}};
    if (requested.kind == Kind::Whole)
        return {200, {}, size};
    const ByteRange& part = requested.bytes;
    const std::string range = fmt::format("bytes {}-{}/{}", part.first, part.first + part.length - 1, size);
    return {206, {{"Content-Range", range}}, part.length};
}

/// @return 503 if too many files are open, otherwise 404.
int statusOfFailure(int error) {
    return error == EMFILE || error == ENFILE ? 503 : 404;
}

} // namespace

FileResponse respondFromFile(const HttpRequest& request, const std::filesystem::path& path) {
    // O_NONBLOCK: a pipe may have taken the file's place, and opening it would block.
    FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0)
        return {{statusOfFailure(errno)}, nullptr};
    struct stat status = {};
    if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {{404}, nullptr};
    const Validators current = validatorsOf(status);
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const RequestedBytes requested = bytesFor(request, current, size);
    const int condition = evaluateConditions(request, current);
    ResponseHead head = condition == 200 ? describe(requested, size) : ResponseHead{condition};
    head.fields.merge(HttpFields{{"Accept-Ranges", "bytes"},
                                 {"Cache-Control", "no-store"},
                                 {"ETag", current.etag},
                                 {"Last-Modified", httpDate(current.modified)}});
    if (head.status != 200 && head.status != 206)
        return {std::move(head), nullptr};
    head.fields["Content-Type"] = contentType(path);
    return {std::move(head), std::make_shared<FileBody>(std::move(file), status, requested.bytes)};
}

} // namespace velmora::desktop
