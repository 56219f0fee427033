// A request and the head of a response as plain data.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_HTTP_MESSAGE_H
#define ZUV_DESKTOP_SERVICE_HTTP_HTTP_MESSAGE_H

#include <strings.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace velmora::desktop {

/// Names of header fields are compared without regard to case.
struct FieldNameLess {
    bool operator()(const std::string& a, const std::string& b) const { return strcasecmp(a.c_str(), b.c_str()) < 0; }
};
using HttpFields = std::map<std::string, std::string, FieldNameLess>;

struct HttpRequest {
    std::string method;
    std::string path;  ///< decoded, without a query; "*" of OPTIONS
    HttpFields fields; ///< a field that came in several lines has their values in one, separated by commas

    /// Empty when the request has no such field.
    std::string field(const std::string& name) const {
        const auto found = fields.find(name);
        return found == fields.end() ? "" : found->second;
    }
};

/// What a response begins with. Content-Length follows from `length`.
struct ResponseHead {
    int status = 0;
    HttpFields fields = {};
    std::optional<std::uint64_t> length = 0; ///< of the body; none: not known before its end
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_HTTP_MESSAGE_H
