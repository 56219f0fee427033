// An HTTP client. Its header leaves the HTTP library to the source file, to compile faster.
#ifndef ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
#define ZUV_TESTS_SUPPORT_HTTP_CLIENT_H

#include "support/awaiting.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace velmora {

/// What a server answers.
struct HttpAnswer {
    int status = 0; ///< 0: there is no answer
    std::string body;
    std::map<std::string, std::string> headers; ///< by name in lower case
    bool complete = false;                      ///< whether all of the answer was received
    bool timedOut = false;                      ///< whether the client stopped waiting for it

    /// @param name in upper or lower case. @return empty when there is no such header.
    std::string header(const std::string& name) const;
};

struct HttpQuestion {
    std::string method = "GET";
    std::vector<std::string> headers = {}; ///< each "Name: value"
    std::string body = {};
    std::chrono::milliseconds patience = kPatience; ///< for the whole answer
};

/// Blocks until the answer is complete or the client's patience ends.
HttpAnswer ask(const std::string& url, const HttpQuestion& question);

/// Asks by GET. @param range as in the header, "bytes=0-1"; empty asks for everything.
HttpAnswer fetch(const std::string& url, const std::string& range = "");

/// As fetch(), without the body.
HttpAnswer fetchHeader(const std::string& url);

/// Whether a connection to the server is taken, and nothing comes over it for 200 ms.
bool hangs(const std::string& url);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
