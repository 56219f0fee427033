#include "service/http/byte_range.h"
#include "service/http/media_response.h"

#include <fmt/format.h>
#include <httplib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <vector>

namespace velmora::desktop {

namespace {

constexpr std::size_t kChunkSize = std::size_t{64} * 1024;

struct ContentType {
    const char* extension;
    const char* type;
};

constexpr std::array<ContentType, 13> kContentTypes{{{".webm", "video/webm"},
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
                                                     {".wav", "audio/wav"}}};

const char* contentType(const std::filesystem::path& file) {
    const std::string extension = file.extension().native();
    const auto found = std::find_if(kContentTypes.begin(), kContentTypes.end(),
                                    [&](const ContentType& known) { return extension == known.extension; });
    return found == kContentTypes.end() ? "application/octet-stream" : found->type;
}

/// A file that is being sent, from where its stream stands.
struct Transfer {
    std::shared_ptr<const ServedLocation> medium;
    std::ifstream file;
    std::uint64_t left;
};

/// @return false when the transfer cannot go on.
bool sendChunk(Transfer& transfer, httplib::DataSink& sink) {
    if (transfer.left == 0) {
        sink.done();
        return true;
    }
    std::vector<char> chunk(std::min<std::uint64_t>(kChunkSize, transfer.left));
    // Cut short meanwhile, the file no longer holds what the header promised.
    if (transfer.medium->withdrawn || !transfer.file.read(chunk.data(), static_cast<std::streamsize>(chunk.size())))
        return false;
    transfer.left -= chunk.size();
    return sink.write(chunk.data(), chunk.size());
}

/// @param bytes what is sent, empty when nothing of the file was asked for.
void describe(const std::optional<ByteRange>& bytes, std::uint64_t size, httplib::Response& response) {
    response.set_header("Accept-Ranges", "bytes");
    if (!bytes) {
        response.set_header("Content-Range", fmt::format("bytes */{}", size));
        return;
    }
    response.set_header("Content-Length", std::to_string(bytes->length));
    if (response.status == 206)
        response.set_header("Content-Range",
                            fmt::format("bytes {}-{}/{}", bytes->first, bytes->first + bytes->length - 1, size));
}

} // namespace

void respondFromFile(const std::shared_ptr<const ServedLocation>& medium, const httplib::Request& request,
                     httplib::Response& response) {
    const std::filesystem::path& path = medium->location.file;
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(path, error);
    std::ifstream file(path, std::ios::binary);
    if (error || !file) {
        response.status = 404;
        return;
    }
    const std::optional<ByteRange> bytes = requestedBytes(request.ranges, size);
    response.status = !bytes ? 416 : request.ranges.empty() ? 200 : 206;
    describe(bytes, size, response);
    if (!bytes)
        return;
    file.seekg(static_cast<std::streamoff>(bytes->first));
    const auto transfer = std::make_shared<Transfer>(Transfer{medium, std::move(file), bytes->length});
    response.set_content_provider(
        contentType(path), [transfer](std::size_t, httplib::DataSink& sink) { return sendChunk(*transfer, sink); });
}

} // namespace velmora::desktop
