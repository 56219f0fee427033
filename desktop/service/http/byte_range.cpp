#include "service/http/byte_range.h"

#include <algorithm>

namespace velmora::desktop {

std::optional<ByteRange> requestedBytes(const std::vector<std::pair<ssize_t, ssize_t>>& ranges, std::uint64_t size) {
    if (ranges.empty())
        return ByteRange{0, size};
    const auto [first, last] = ranges.front();
    const bool suffix = first < 0;
    if (ranges.size() > 1 || size == 0 || (suffix && last <= 0))
        return std::nullopt;
    if (suffix) {
        const std::uint64_t length = std::min(static_cast<std::uint64_t>(last), size);
        return ByteRange{size - length, length};
    }
    const auto begin = static_cast<std::uint64_t>(first);
    const std::uint64_t end = last < 0 ? size : std::min(static_cast<std::uint64_t>(last) + 1, size);
    if (begin >= end)
        return std::nullopt;
    return ByteRange{begin, end - begin};
}

} // namespace velmora::desktop
