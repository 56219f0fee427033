#include "service/http/upstream_head.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace velmora::desktop {

namespace {

/// All values of a field, in their order.
std::vector<std::string> valuesOf(CURL* transfer, const char* name) {
    std::vector<std::string> values;
    curl_header* header = nullptr;
    for (std::size_t i = 0; curl_easy_header(transfer, name, i, CURLH_HEADER, -1, &header) == CURLHE_OK; ++i)
        values.emplace_back(header->value);
    return values;
}

std::string valueOf(CURL* transfer, const char* name) {
    const std::vector<std::string> values = valuesOf(transfer, name);
    return values.empty() ? "" : values.front();
}

std::optional<std::uint64_t> parseLength(const std::string& text) {
    std::int64_t length = -1;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, length);
    if (error != std::errc() || rest != end || length < 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(length);
}

/// Checks what libcurl does not: it treats a length that is too large as unknown, and uses the last of several.
bool lengthIsSound(CURL* transfer) {
    const std::vector<std::string> lengths = valuesOf(transfer, "Content-Length");
    return std::all_of(lengths.begin(), lengths.end(), [&](const std::string& length) {
        return length == lengths.front() && parseLength(length).has_value();
    });
}

/// An encoded body cannot be passed on, because readers did not accept any encoding.
bool isEncoded(CURL* transfer) {
    const std::string encoding = valueOf(transfer, "Content-Encoding");
    return !encoding.empty() && strcasecmp(encoding.c_str(), "identity") != 0;
}

/// Whether a 206 names its part, and the part is as long as the body.
bool rangeIsSound(const std::string& range, const std::optional<std::uint64_t>& length) {
    static const std::regex kForm("bytes ([0-9]{1,19})-([0-9]{1,19})/([0-9]{1,19}|\\*)");
    std::smatch parts;
    if (!std::regex_match(range, parts, kForm))
        return false;
    const auto first = parseLength(parts[1]);
    const auto last = parseLength(parts[2]);
    const auto size = parts[3] == "*" ? std::numeric_limits<std::uint64_t>::max() : parseLength(parts[3]);
    return first && last && size && *first <= *last && *last < *size && (!length || *length == *last - *first + 1);
}

void copyField(const char* name, const char* form, CURL* transfer, HttpFields& fields) {
    const std::string value = valueOf(transfer, name);
    if (value.size() <= 256 && std::regex_match(value, std::regex(form)))
        fields.emplace(name, value);
}

HttpFields fieldsOf(CURL* transfer, int status) {
    HttpFields fields{{"Cache-Control", "no-store"}};
    copyField("Accept-Ranges", "bytes|none", transfer, fields);
    copyField("ETag", R"re((W/)?"[\x21\x23-\x7e]*")re", transfer, fields);
    if (curl_getdate(valueOf(transfer, "Last-Modified").c_str(), nullptr) >= 0)
        copyField("Last-Modified", "[\\x20-\\x7e]+", transfer, fields);
    if (status == 200 || status == 206)
        copyField("Content-Type", "[\\x20-\\x7e]+", transfer, fields);
    if (status == 206 || status == 416)
        copyField("Content-Range", "bytes [0-9*/-]+", transfer, fields);
    return fields;
}

/// Whether a status can be passed on: not 401 and 407, because readers of a local URL cannot provide credentials, and
/// not a redirect, because one that reaches this point could not be followed.
bool isUsable(long status) {
    const bool refusal = status >= 400 && status <= 599 && status != 401 && status != 407;
    return status == 200 || status == 206 || status == 304 || refusal;
}

} // namespace

ResponseHead passedOn(CURL* transfer) {
    long status = 0;
    curl_easy_getinfo(transfer, CURLINFO_RESPONSE_CODE, &status);
    if (!isUsable(status) || !lengthIsSound(transfer) || isEncoded(transfer))
        return {502};
    ResponseHead head{static_cast<int>(status)};
    head.fields = fieldsOf(transfer, head.status);
    if (status != 200 && status != 206)
        return head;
    curl_off_t length = -1;
    curl_easy_getinfo(transfer, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    head.length = length < 0 ? std::nullopt : std::optional(static_cast<std::uint64_t>(length));
    if (status == 206 && !rangeIsSound(valueOf(transfer, "Content-Range"), head.length))
        return {502};
    return head;
}

} // namespace velmora::desktop
