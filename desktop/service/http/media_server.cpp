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

/// The first segment of a request target.
std::string pathOfMedium(const std::string& target) {
    return target.substr(0, target.find_first_of("/?", 1));
}

/// @param rest of the request target, behind the medium's path.
std::optional<MediaLocation> requestedOf(const ServedLocation& medium, const std::string& rest) {
    if (medium.siblings)
        return rest.starts_with('/') ? medium.siblings->find(rest.substr(1)) : std::nullopt;
    return rest.starts_with('/') ? std::nullopt : std::optional(medium.location);
}

} // namespace

ServedMedium::ServedMedium(MediaServer& server, const MediaLocation& location, MediumForm form)
    : m_server(server), m_location(location), m_path("/" + randomToken()) {
    auto medium = std::make_shared<ServedLocation>(location);
    if (form == MediumForm::Playlist) {
        medium->siblings = std::make_unique<PlaylistSiblings>(location);
        m_target = "/" + encoded(medium->siblings->name());
    }
    m_server.add(m_path, std::move(medium));
}

ServedMedium::~ServedMedium() {
    m_server.withdraw(m_path);
}

std::string ServedMedium::url() const {
    return urlOfTarget(m_target);
}

std::optional<std::string> ServedMedium::urlOf(const std::string& reference) const {
    const std::optional<std::string> target = targetOf(m_location, reference);
    return target ? std::optional(urlOfTarget("/" + *target)) : std::nullopt;
}

std::string ServedMedium::urlOfTarget(const std::string& target) const {
    return fmt::format("http://127.0.0.1:{}{}{}", m_server.m_http.port(), m_path, target);
}

MediaServer::MediaServer(const ServingLimits& limits)
    : m_upstream(limits), m_http(limits, [this](Exchange& exchange) { answer(exchange); }),
      m_thread([this](const std::stop_token& stop) { run(stop); }) {}

MediaServer::~MediaServer() {
    m_thread.request_stop();
    m_upstream.wake();
    m_thread.join();
}

void MediaServer::add(const std::string& path, std::shared_ptr<ServedLocation> medium) {
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
    const std::string path = pathOfMedium(request.target);
    const std::shared_ptr<const ServedLocation> medium = find(path);
    const std::optional<MediaLocation> location =
        medium ? requestedOf(*medium, request.target.substr(path.size())) : std::nullopt;
    if (!location)
        return exchange.respond({404});
    exchange.setMedium(medium, *location);
    if (request.method == "OPTIONS")
        return exchange.respond(optionsResponse(request));
    if (request.method != "GET" && request.method != "HEAD")
        return exchange.respond({405, {{"Allow", kAllowedMethods}}});
    if (location->file.empty())
        return exchange.setBody(std::make_shared<UpstreamTransfer>(m_upstream, location->uri, exchange));
    FileResponse response = respondFromFile(request, location->file);
    exchange.setBody(std::move(response.body));
    exchange.respond(std::move(response.head));
}

} // namespace velmora::desktop
