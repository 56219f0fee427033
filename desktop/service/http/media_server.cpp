#include "service/http/media_server.h"

#include "base/random_token.h"
#include "service/http/cross_origin.h"
#include "service/http/file_response.h"
#include "service/http/upstream_transfer.h"

#include <fmt/format.h>

#include <csignal>

namespace velmora::desktop {

namespace {

/// Writing to a reader or server that has left must not raise a signal on this thread.
void blockSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

} // namespace

ServedMedium::ServedMedium(MediaServer& server, const MediaLocation& location)
    : m_server(server), m_path("/" + randomToken()) {
    m_server.add(m_path, location);
}

ServedMedium::~ServedMedium() {
    m_server.withdraw(m_path);
}

std::string ServedMedium::url() const {
    return fmt::format("http://127.0.0.1:{}{}", m_server.m_http.port(), m_path);
}

MediaServer::MediaServer(const ServingLimits& limits)
    : m_upstream(limits), m_http(limits, [this](Exchange& exchange) { answer(exchange); }),
      m_thread([this](const std::stop_token& stop) { run(stop); }) {}

MediaServer::~MediaServer() {
    m_thread.request_stop();
    m_upstream.wake();
    m_thread.join();
}

void MediaServer::add(const std::string& path, const MediaLocation& location) {
    auto medium = std::make_shared<ServedLocation>(location);
    const MutexLock lock(m_mutex);
    m_media.emplace(path, std::move(medium));
}

void MediaServer::withdraw(const std::string& path) {
    {
        const MutexLock lock(m_mutex);
        const auto medium = m_media.find(path);
        medium->second->withdrawn = true;
        m_media.erase(medium);
    }
    m_withdrawing = true;
    m_upstream.wake();
}

std::shared_ptr<const ServedLocation> MediaServer::find(const std::string& path) {
    const MutexLock lock(m_mutex);
    const auto medium = m_media.find(path);
    return medium == m_media.end() ? nullptr : medium->second;
}

void MediaServer::run(const std::stop_token& stop) {
    blockSignals();
    while (!stop.stop_requested()) {
        m_upstream.wait(m_http.descriptor(), m_http.patience());
        m_upstream.step();
        if (m_withdrawing.exchange(false))
            m_http.endWithdrawn();
        m_http.step(); // last: it continues the resumed responses, which do not make the descriptor readable
    }
}

void MediaServer::answer(Exchange& exchange) {
    const HttpRequest& request = exchange.request();
    if (request.method == "OPTIONS" && request.path == "*")
        return exchange.respond(optionsResponse(request));
    const std::shared_ptr<const ServedLocation> medium = find(request.path);
    if (!medium)
        return exchange.respond({404});
    exchange.setMedium(medium);
    if (request.method == "OPTIONS")
        return exchange.respond(optionsResponse(request));
    if (request.method != "GET" && request.method != "HEAD")
        return exchange.respond({405, {{"Allow", kAllowedMethods}}});
    if (medium->location.file.empty())
        return exchange.setBody(std::make_shared<UpstreamTransfer>(m_upstream, medium->location.uri, exchange));
    FileResponse response = respondFromFile(request, medium->location.file);
    exchange.setBody(std::move(response.body));
    exchange.respond(std::move(response.head));
}

} // namespace velmora::desktop
