// A request, and the head of a response, as plain data.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_HTTP_MESSAGE_H
#define ZUV_DESKTOP_SERVICE_HTTP_HTTP_MESSAGE_H

#include <strings.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace velmora::desktop {

/// Compares names of header fields, in which case does not matter.
struct FieldNameLess {
    bool operator()(const std::string& a, const std::string& b) const { return strcasecmp(a.c_str(), b.c_str()) < 0; }
};
using HttpFields = std::map<std::string, std::string, FieldNameLess>;

struct HttpRequest {
    std::string method;
    std::string path;        ///< decoded, without a query; "*" of OPTIONS
    HttpFields fields;       ///< the values of repeated fields are joined, separated by commas
    std::string target = {}; ///< the path as it was sent: not decoded, with its query

    /// Empty if the request has no such field.
    std::string field(const std::string& name) const {
        const auto found = fields.find(name);
        return found == fields.end() ? "" : found->second;
    }
};

/// Status and header of a response. Content-Length is derived from `length`.
struct ResponseHead {
    int status = 0;
    HttpFields fields = {};
    std::optional<std::uint64_t> length = 0; ///< of the body, in bytes; no value if it is not known before the end
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_HTTP_MESSAGE_H
