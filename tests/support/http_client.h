#ifndef ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
#define ZUV_TESTS_SUPPORT_HTTP_CLIENT_H

#include <httplib.h>

#include <string>

namespace velmora::desktop {

/// What a server answers; the status is 0 when it does not.
struct HttpAnswer {
    int status = 0;
    std::string body;
    httplib::Headers headers;

    /// Empty when there is no such header.
    std::string header(const std::string& name) const;
};

/// @param range as in the header, "bytes=0-1"; empty asks for everything.
HttpAnswer fetch(const std::string& url, const std::string& range = "");

/// As fetch(), without the body.
HttpAnswer fetchHeader(const std::string& url);

} // namespace velmora::desktop

#endif // ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
