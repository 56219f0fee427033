#include "service/http/media_response.h"

#include <httplib.h>

#include <algorithm>
#include <string>

namespace velmora::desktop {

namespace {

constexpr time_t kConnectTimeout = 5; // seconds

/// The request to pass on: from whom, what, and how.
struct Upstream {
    std::string origin; ///< "http://host:port"
    std::string target; ///< path and query
    httplib::Headers headers;
};

Upstream upstreamOf(const std::string& url, const httplib::Request& request) {
    const std::size_t authority = std::string("http://").size();
    const std::string whole = url.substr(0, url.find('#'));
    const std::size_t path = std::min(whole.find_first_of("/?", authority), whole.size());
    const std::string target = whole.substr(path);
    Upstream upstream{"http://" + whole.substr(authority, path - authority),
                      target.starts_with('/') ? target : "/" + target,
                      // Not compressed: ranges and lengths are the medium's own.
                      {{"Accept-Encoding", "identity"}}};
    if (request.has_header("Range"))
        upstream.headers.emplace("Range", request.get_header_value("Range"));
    return upstream;
}

bool get(const Upstream& upstream, const httplib::ResponseHandler& onHeader, const httplib::ContentReceiver& onBody) {
    httplib::Client client(upstream.origin);
    client.set_connection_timeout(kConnectTimeout);
    client.set_follow_location(true);
    client.set_decompress(false);
    return client.Get(upstream.target, upstream.headers, onHeader, onBody).error() == httplib::Error::Success;
}

/// What the source would answer, without its body. The status is -1 when it does not answer.
httplib::Response headerOf(const Upstream& upstream) {
    httplib::Response header;
    const auto keep = [&header](const httplib::Response& answer) {
        header = answer;
        return false;
    };
    get(upstream, keep, [](const char*, std::size_t) { return false; });
    return header;
}

void copyHeader(const char* name, const httplib::Response& from, httplib::Response& to) {
    if (from.has_header(name))
        to.set_header(name, from.get_header_value(name));
}

} // namespace

void respondFromUpstream(const std::shared_ptr<const ServedLocation>& medium, const httplib::Request& request,
                         httplib::Response& response) {
    const Upstream upstream = upstreamOf(medium->location.uri, request);
    const httplib::Response header = headerOf(upstream);
    response.status = header.status < 0 ? 502 : header.status;
    copyHeader("Accept-Ranges", header, response);
    copyHeader("Content-Range", header, response);
    if (header.status != 200 && header.status != 206)
        return;
    copyHeader("Content-Length", header, response);
    const auto send = [medium, upstream, status = header.status](std::size_t, httplib::DataSink& sink) {
        const bool whole = get(
            upstream, [status](const httplib::Response& answer) { return answer.status == status; },
            [&](const char* data, std::size_t size) { return !medium->withdrawn && sink.write(data, size); });
        if (whole)
            sink.done();
        return whole;
    };
    const std::string type = header.get_header_value("Content-Type");
    if (header.has_header("Content-Length"))
        response.set_content_provider(type, send);
    else
        response.set_chunked_content_provider(type, send);
}

} // namespace velmora::desktop
