// The HTTP client of the tests.
#ifndef ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
#define ZUV_TESTS_SUPPORT_HTTP_CLIENT_H

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace velmora::desktop {

/// What a server answers; the status is 0 when it does not.
struct HttpAnswer {
    int status = 0;
    std::string body;
    std::map<std::string, std::string> headers; ///< by name in lower case
    bool complete = false;                      ///< whether the answer came to its end
    bool timedOut = false;                      ///< whether it was given up for its slowness

    /// By its name in whatever case. Empty when there is no such header.
    std::string header(const std::string& name) const;
};

struct HttpQuestion {
    std::string method = "GET";
    std::vector<std::string> headers = {}; ///< each "Name: value"
    std::string body = {};
    std::chrono::milliseconds patience = std::chrono::seconds(20);
};

HttpAnswer ask(const std::string& url, const HttpQuestion& question);

/// @param range as in the header, "bytes=0-1"; empty asks for everything.
HttpAnswer fetch(const std::string& url, const std::string& range = "");

/// As fetch(), without the body.
HttpAnswer fetchHeader(const std::string& url);

} // namespace velmora::desktop

#endif // ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
