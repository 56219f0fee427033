// The Range field of a request.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H
#define ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H

#include <cstdint>
#include <string>

namespace velmora::desktop {

/// Consecutive bytes of a file.
struct ByteRange {
    std::uint64_t first;
    std::uint64_t length;
};

/// The bytes that a Range field requests.
struct RequestedBytes {
    enum class Kind {
        Whole, ///< no field, a unit other than bytes, or several ranges
        Part,
        Impossible, ///< a range that contains no byte of the file, or is malformed
    };
    Kind kind;
    ByteRange bytes; ///< within the file; empty if impossible
};

/// @param field the value of Range, such as "bytes=0-499", "bytes=500-" or "bytes=-500"; empty without the field.
/// @param size of the file, in bytes.
RequestedBytes requestedBytes(const std::string& field, std::uint64_t size);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_BYTE_RANGE_H
