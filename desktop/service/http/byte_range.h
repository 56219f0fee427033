#ifndef ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H
#define ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::desktop {

/// A run of bytes.
struct ByteRange {
    std::uint64_t first;
    std::uint64_t length;
};

/// What a request asks of a file: all of it without ranges, else its one range, cut at the end of the file.
/// @param ranges as the HTTP server parses them: first and last byte, the last -1 when open ("5-"), the first
/// -1 for
///        that many last bytes ("-5").
/// @param size of the file, in bytes.
/// @return empty when the range has no byte of the file, and for several ranges, which are not served.
std::optional<ByteRange> requestedBytes(const std::vector<std::pair<ssize_t, ssize_t>>& ranges, std::uint64_t size);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H
