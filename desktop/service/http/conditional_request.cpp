#include "service/http/conditional_request.h"

#include <curl/curl.h>
#include <fmt/chrono.h>

#include <optional>
#include <string_view>

namespace velmora::desktop {

namespace {

/// No value if the text is not a date: such a condition is ignored.
std::optional<std::time_t> parseDate(const std::string& text) {
    const std::time_t time = curl_getdate(text.c_str(), nullptr);
    return time < 0 ? std::nullopt : std::optional(time);
}

enum class Comparison { Strong, Weak };

/// Whether a list of entity tags contains this one. A comma within the quotes is part of a tag.
bool contains(std::string_view list, const std::string& etag, Comparison comparison) {
    while (!list.empty()) {
        const bool weak = list.starts_with("W/\"");
        const std::size_t open = weak ? 2 : 0;
        if (list[open] != '"') { // between two tags
            list.remove_prefix(1);
            continue;
        }
        const std::size_t close = list.find('"', open + 1);
        if (close == std::string_view::npos)
            return false;
        if (list.substr(open, close - open + 1) == etag && (!weak || comparison == Comparison::Weak))
            return true;
        list.remove_prefix(close + 1);
    }
    return false;
}

bool matches(const std::string& field, const std::string& etag, Comparison comparison) {
    return field == "*" || contains(field, etag, comparison);
}

bool unchangedSince(const std::string& field, std::time_t modified) {
    const std::optional<std::time_t> date = parseDate(field);
    return date && modified <= *date;
}

} // namespace

// The order is that of RFC 9110, 13.2.2: a condition on the date is ignored if there is one on the tag.
int evaluateConditions(const HttpRequest& request, const Validators& current) {
    const std::string ifMatch = request.field("If-Match");
    const std::string ifUnmodified = request.field("If-Unmodified-Since");
    if (!ifMatch.empty() && !matches(ifMatch, current.etag, Comparison::Strong))
        return 412;
    if (ifMatch.empty() && parseDate(ifUnmodified) && !unchangedSince(ifUnmodified, current.modified))
        return 412;
    const std::string ifNoneMatch = request.field("If-None-Match");
    if (!ifNoneMatch.empty())
        return matches(ifNoneMatch, current.etag, Comparison::Weak) ? 304 : 200;
    return unchangedSince(request.field("If-Modified-Since"), current.modified) ? 304 : 200;
}

bool rangeApplies(const HttpRequest& request, const Validators& current) {
    const std::string condition = request.field("If-Range");
    if (condition.empty() || condition == current.etag)
        return true;
    return parseDate(condition) == current.modified;
}

std::string httpDate(std::time_t time) {
    return fmt::format("{:%a, %d %b %Y %H:%M:%S} GMT", fmt::gmtime(time));
}

} // namespace velmora::desktop
