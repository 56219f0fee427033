#include "service/http/media_server.h"

#include "base/random_token.h"
#include "service/http/media_response.h"

#include <fmt/format.h>
#include <httplib.h>

#include <chrono>
#include <stdexcept>

namespace velmora::desktop {

namespace {

constexpr const char* kAddress = "127.0.0.1";

// A transfer keeps its thread for as long as it lasts.
constexpr std::size_t kThreads = 32;

} // namespace

ServedMedium::ServedMedium(MediaServer& server, const MediaLocation& location)
    : m_server(server), m_path("/" + randomToken()) {
    m_server.add(m_path, location);
}

ServedMedium::~ServedMedium() {
    m_server.withdraw(m_path);
}

std::string ServedMedium::url() const {
    return fmt::format("http://{}:{}{}", kAddress, m_server.m_port, m_path);
}

MediaServer::MediaServer() : m_server(std::make_unique<httplib::Server>()) {
    m_server->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    m_server->set_keep_alive_timeout(1); // seconds; an idle connection would hold up the end of the service
    m_server->Get("/[0-9a-f]{32}",
                  [this](const httplib::Request& request, httplib::Response& response) { respond(request, response); });
    m_port = m_server->bind_to_any_port(kAddress);
    if (m_port < 0)
        throw std::runtime_error(fmt::format("cannot listen on {}", kAddress));
    m_listener = std::jthread([this] { m_server->listen_after_bind(); });
    // Before it runs, stop() has no effect.
    while (!m_server->is_running())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

MediaServer::~MediaServer() {
    m_server->stop();
}

void MediaServer::add(const std::string& path, const MediaLocation& location) {
    auto medium = std::make_shared<ServedLocation>();
    medium->location = location;
    const std::lock_guard lock(m_mutex);
    m_media.emplace(path, std::move(medium));
}

void MediaServer::withdraw(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    const auto medium = m_media.find(path);
    medium->second->withdrawn = true;
    m_media.erase(medium);
}

std::shared_ptr<const ServedLocation> MediaServer::find(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    const auto medium = m_media.find(path);
    return medium == m_media.end() ? nullptr : medium->second;
}

void MediaServer::respond(const httplib::Request& request, httplib::Response& response) {
    const std::shared_ptr<const ServedLocation> medium = find(request.path);
    if (!medium)
        response.status = 404;
    else if (request.ranges.size() > 1)
        response.status = 416; // parts of several ranges would have to come in one multipart body
    else if (medium->location.file.empty())
        respondFromUpstream(medium, request, response);
    else
        respondFromFile(medium, request, response);
}

} // namespace velmora::desktop
