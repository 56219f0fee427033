// The Range field of a request.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H
#define ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H

#include <cstdint>
#include <string>

namespace velmora::desktop {

/// A run of bytes.
struct ByteRange {
    std::uint64_t first;
    std::uint64_t length;
};

/// What a Range field asks of something of a known size.
struct RequestedBytes {
    enum class Kind {
        Whole, ///< all of it: no field, a unit other than bytes, or several ranges
        Part,
        Impossible, ///< a range that has no byte of it, or that is malformed
    };
    Kind kind;
    ByteRange bytes; ///< cut at the end; empty when impossible
};

/// @param field the value of Range, as "bytes=0-499", "bytes=500-" or "bytes=-500"; empty for none.
/// @param size in bytes.
RequestedBytes requestedBytes(const std::string& field, std::uint64_t size);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H
