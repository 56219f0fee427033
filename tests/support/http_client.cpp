#include "support/http_client.h"

#include "support/awaiting.h"

#include <httplib.h>
#include <strings.h>

namespace velmora {

namespace {

struct SplitUrl {
    explicit SplitUrl(const std::string& url)
        : path(url.find('/', url.find("://") + 3)), origin(url.substr(0, path)), target(url.substr(path)) {}

    std::size_t path;
    std::string origin;
    std::string target;
};

HttpAnswer answerOf(const httplib::Result& result) {
    return result ? HttpAnswer{result->status, result->body, {result->headers.begin(), result->headers.end()}}
                  : HttpAnswer{};
}

httplib::Result get(const std::string& url, const httplib::Headers& headers, std::chrono::milliseconds patience) {
    const SplitUrl split(url);
    httplib::Client client(split.origin);
    client.set_decompress(false);
    client.set_read_timeout(patience);
    return client.Get(split.target, headers);
}

} // namespace

bool HttpAnswer::NameOrder::operator()(const std::string& left, const std::string& right) const {
    return strcasecmp(left.c_str(), right.c_str()) < 0;
}

std::string HttpAnswer::header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
}

HttpAnswer fetch(const std::string& url, const std::string& range) {
    return answerOf(get(url, range.empty() ? httplib::Headers{} : httplib::Headers{{"Range", range}}, kPatience));
}

HttpAnswer fetchHeader(const std::string& url) {
    const SplitUrl split(url);
    return answerOf(httplib::Client(split.origin).Head(split.target));
}

bool hangs(const std::string& url) {
    return get(url, {}, std::chrono::milliseconds(200)).error() == httplib::Error::Read;
}

} // namespace velmora
