#include "support/http_client.h"

namespace velmora::desktop {

namespace {

struct SplitUrl {
    explicit SplitUrl(const std::string& url)
        : path(url.find('/', url.find("://") + 3)), origin(url.substr(0, path)), target(url.substr(path)) {}

    std::size_t path;
    std::string origin;
    std::string target;
};

HttpAnswer answerOf(const httplib::Result& result) {
    return result ? HttpAnswer{result->status, result->body, result->headers} : HttpAnswer{};
}

} // namespace

std::string HttpAnswer::header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
}

HttpAnswer fetch(const std::string& url, const std::string& range) {
    const SplitUrl split(url);
    httplib::Client client(split.origin);
    client.set_decompress(false);
    return answerOf(client.Get(split.target, range.empty() ? httplib::Headers{} : httplib::Headers{{"Range", range}}));
}

HttpAnswer fetchHeader(const std::string& url) {
    const SplitUrl split(url);
    return answerOf(httplib::Client(split.origin).Head(split.target));
}

} // namespace velmora::desktop
