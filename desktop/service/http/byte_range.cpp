#include "service/http/byte_range.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace velmora::desktop {

namespace {

constexpr std::uint64_t kMaximum = std::numeric_limits<std::uint64_t>::max();

/// "first-last"; one of them can be missing, but not both.
struct RangeText {
    std::optional<std::uint64_t> first;
    std::optional<std::uint64_t> last;
};

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// A number that is too large becomes the maximum: no file is that long.
std::optional<std::uint64_t> number(std::string_view digits) {
    std::uint64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, value);
    if (error == std::errc::invalid_argument || rest != end)
        return std::nullopt;
    return error == std::errc::result_out_of_range ? kMaximum : value;
}

std::optional<RangeText> parseRange(std::string_view text) {
    const std::size_t dash = text.find('-');
    if (dash == std::string_view::npos || text.size() == 1)
        return std::nullopt;
    const RangeText range{number(text.substr(0, dash)), number(text.substr(dash + 1))};
    const bool wrongFirst = dash > 0 && !range.first;
    const bool wrongLast = dash + 1 < text.size() && !range.last;
    const bool backwards = range.first && range.last && *range.last < *range.first;
    return wrongFirst || wrongLast || backwards ? std::nullopt : std::optional(range);
}

/// @return no value if a range is malformed.
std::optional<std::vector<RangeText>> parseList(std::string_view list) {
    std::vector<RangeText> ranges;
    for (bool more = true; more;) {
        const std::size_t comma = list.find(',');
        const std::string_view element = trimmed(list.substr(0, comma));
        more = comma != std::string_view::npos;
        list.remove_prefix(more ? comma + 1 : list.size());
        if (element.empty())
            continue;
        const std::optional<RangeText> range = parseRange(element);
        if (!range)
            return std::nullopt;
        ranges.push_back(*range);
    }
    return ranges;
}

/// @return length 0 if the range contains no byte.
ByteRange cut(const RangeText& range, std::uint64_t size) {
    if (!range.first) {
        const std::uint64_t length = std::min(*range.last, size);
        return {size - length, length};
    }
    if (*range.first >= size)
        return {0, 0};
    const std::uint64_t last = std::min(range.last.value_or(kMaximum), size - 1);
    return {*range.first, last - *range.first + 1};
}

} // namespace

RequestedBytes requestedBytes(const std::string& field, std::uint64_t size) {
    using Kind = RequestedBytes::Kind;
    constexpr std::string_view kUnit = "bytes=";
    if (strncasecmp(field.c_str(), kUnit.data(), kUnit.size()) != 0)
        return {Kind::Whole, {0, size}};
    const auto ranges = parseList(std::string_view(field).substr(kUnit.size()));
    if (!ranges || ranges->empty())
        return {Kind::Impossible, {}};
    if (ranges->size() > 1)
        return {Kind::Whole, {0, size}};
    const ByteRange bytes = cut(ranges->front(), size);
    return {bytes.length > 0 ? Kind::Part : Kind::Impossible, bytes};
}

} // namespace velmora::desktop
