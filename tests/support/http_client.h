// An HTTP client. Its header leaves the HTTP library to the source file: few headers take as long to compile.
#ifndef ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
#define ZUV_TESTS_SUPPORT_HTTP_CLIENT_H

#include <map>
#include <string>

namespace velmora {

/// What a server answers.
struct HttpAnswer {
    /// Names of headers are the same in upper and lower case.
    struct NameOrder {
        bool operator()(const std::string& left, const std::string& right) const;
    };

    int status = 0; ///< 0: there is no answer
    std::string body;
    std::multimap<std::string, std::string, NameOrder> headers;

    /// Empty when there is no such header.
    std::string header(const std::string& name) const;
};

/// @param range as in the header, "bytes=0-1"; empty asks for everything.
HttpAnswer fetch(const std::string& url, const std::string& range = "");

/// As fetch(), without the body.
HttpAnswer fetchHeader(const std::string& url);

/// Whether a connection to the server is taken, and nothing comes over it for 200 ms.
bool hangs(const std::string& url);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_HTTP_CLIENT_H
