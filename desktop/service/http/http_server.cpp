#include "service/http/http_server.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/http/cross_origin.h"

#include <fmt/format.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::desktop {

namespace {

// Per connection, for the headers of its request and its response.
constexpr std::size_t kConnectionMemory = std::size_t{32} * 1024;
constexpr std::size_t kMaximumHeaderSize = std::size_t{16} * 1024;
constexpr int kMaximumFields = 64;

// How much the kernel buffers for a paused reader. Its default is some megabytes; a thousand paused readers would use
// up the memory for all connections.
constexpr int kSendBufferSize = 256 * 1024;

void limitSendBuffer(int socket) {
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kSendBufferSize, sizeof kSendBufferSize);
}

MHD_Result addField(void* fields, MHD_ValueKind, const char* name, const char* value) {
    std::string& all = (*static_cast<HttpFields*>(fields))[name];
    all += (all.empty() ? "" : ", ") + std::string(value == nullptr ? "" : value);
    return MHD_YES;
}

/// The target of a request can also be a URL: "GET http://127.0.0.1:1234/path".
std::string pathOf(const std::string& target) {
    const std::size_t scheme = target.find("://");
    if (target.starts_with('/') || scheme == std::string::npos)
        return target;
    const std::size_t path = target.find('/', scheme + 3);
    return path == std::string::npos ? "/" : target.substr(path);
}

/// @param path decoded, without a query.
HttpRequest requestOf(MHD_Connection* connection, const char* method, const char* path, const std::string& target) {
    HttpRequest request{method, pathOf(path), {}, pathOf(target)};
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &addField, &request.fields);
    return request;
}

std::size_t headerSize(MHD_Connection* connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE)->header_size;
}

bool hasBody(const HttpRequest& request) {
    const std::string length = request.field("Content-Length");
    return !request.field("Transfer-Encoding").empty() || length.find_first_not_of('0') != std::string::npos;
}

/// RFC 9112, 3.2: one Host field, from HTTP/1.1 on.
bool namesOneHost(const HttpRequest& request, std::string_view version) {
    const std::string host = request.field("Host");
    return host.find(',') == std::string::npos && (!host.empty() || version == "HTTP/1.0");
}

/// @return 0 for a request that is passed to the handler.
int statusOfRefusal(MHD_Connection* connection, const HttpRequest& request, std::string_view version) {
    if (!namesOneHost(request, version))
        return 400;
    if (hasBody(request))
        return 413;
    const int fields = MHD_get_connection_values(connection, MHD_HEADER_KIND, nullptr, nullptr);
    return fields > kMaximumFields || headerSize(connection) > kMaximumHeaderSize ? 431 : 0;
}

/// A connection needs up to two descriptors, a socket and a file. Half of the process's limit is left for the media.
unsigned connectionLimit(unsigned wanted) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    return static_cast<unsigned>(std::min<rlim_t>(wanted, files.rlim_cur / 4));
}

[[gnu::format(printf, 2, 0)]] void logComplaint(void*, const char* format, va_list arguments) {
    std::array<char, 512> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    const std::string_view line(text.data());
    logDebug("http {}", inQuotes(line.substr(0, line.find_last_not_of('\n') + 1)));
}

/// Whether the client has closed its end.
bool hasLeft(int socket) {
    pollfd state{socket, POLLRDHUP, 0};
    return poll(&state, 1, 0) == 1;
}

} // namespace

/// The functions that libmicrohttpd calls during step(). They must not let exceptions through.
struct HttpServer::Callbacks {
    static void onConnection(void* server, MHD_Connection* connection, void**, MHD_ConnectionNotificationCode event) {
        auto& self = *static_cast<HttpServer*>(server);
        if (event == MHD_CONNECTION_NOTIFY_CLOSED) {
            self.m_connections.erase(connection);
            return;
        }
        const int socket = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
        limitSendBuffer(socket);
        self.m_connections.emplace(connection, Connection{socket, Clock::now()});
    }

    /// Called with the target as it was sent, before it is decoded.
    static void* onTarget(void* server, const char* target, MHD_Connection* connection) {
        auto& self = *static_cast<HttpServer*>(server);
        self.m_connections.at(connection).target = target;
        return nullptr; // the context of the first call of onRequest()
    }

    /// Called when the header has arrived, when the whole request has, and each time the connection is resumed before
    /// it has a response.
    static MHD_Result onRequest(void* server, MHD_Connection* connection, const char* path, const char* method,
                                const char* version, const char*, std::size_t*, void** context) {
        try {
            auto& self = *static_cast<HttpServer*>(server);
            Connection& known = self.m_connections.at(connection);
            if (std::exchange(*context, &known) == nullptr) {
                known.exchange =
                    std::make_unique<Exchange>(connection, requestOf(connection, method, path, known.target));
                return refuse(connection, *known.exchange, version);
            }
            if (!std::exchange(known.handedOut, true))
                self.m_handler(*known.exchange);
            return known.exchange->proceed();
        } catch (const std::exception& failure) {
            logError("cannot answer a request: {}", failure.what());
            return MHD_NO;
        }
    }

    /// For a response at this point, libmicrohttpd closes the connection without reading the rest of the request.
    static MHD_Result refuse(MHD_Connection* connection, Exchange& exchange, std::string_view version) {
        const int status = statusOfRefusal(connection, exchange.request(), version);
        if (status == 0)
            return MHD_YES;
        exchange.respond({status});
        return exchange.proceed();
    }

    static void onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode reason) {
        if (*context == nullptr)
            return; // only the target arrived
        auto& connection = *static_cast<Connection*>(*context);
        connection.exchange->report(reason == MHD_REQUEST_TERMINATED_COMPLETED_OK);
        connection.exchange.reset();
        connection.handedOut = false;
        connection.waitingSince = Clock::now();
    }

    static MHD_Daemon* start(HttpServer& server) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        // Without the library's own time limit, which would include a reader's pauses.
        return MHD_start_daemon(MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0, nullptr, nullptr,
                                &onRequest, &server, MHD_OPTION_EXTERNAL_LOGGER, &logComplaint, nullptr,
                                MHD_OPTION_SOCK_ADDR, &address, MHD_OPTION_CONNECTION_LIMIT,
                                connectionLimit(server.m_limits.connections), MHD_OPTION_CONNECTION_MEMORY_LIMIT,
                                kConnectionMemory, MHD_OPTION_URI_LOG_CALLBACK, &onTarget, &server,
                                MHD_OPTION_NOTIFY_CONNECTION, &onConnection, &server, MHD_OPTION_NOTIFY_COMPLETED,
                                &onCompleted, nullptr, MHD_OPTION_END);
    }
};

HttpServer::HttpServer(const ServingLimits& limits, Handler handler)
    : m_limits(limits), m_handler(std::move(handler)), m_daemon(Callbacks::start(*this)) {
    if (!m_daemon)
        throw std::runtime_error("cannot listen on 127.0.0.1");
    m_port = MHD_get_daemon_info(m_daemon.get(), MHD_DAEMON_INFO_BIND_PORT)->port;
    m_descriptor = MHD_get_daemon_info(m_daemon.get(), MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
}

HttpServer::~HttpServer() {
    for (auto& [handle, connection] : m_connections)
        if (connection.exchange)
            connection.exchange->abandon();
}

void HttpServer::Stop::operator()(MHD_Daemon* daemon) const {
    MHD_stop_daemon(daemon);
}

std::chrono::milliseconds HttpServer::patience() const {
    MHD_UNSIGNED_LONG_LONG timeout = 0;
    if (MHD_get_timeout(m_daemon.get(), &timeout) == MHD_YES && timeout == 0)
        return std::chrono::milliseconds(0);
    return m_connections.empty() ? std::chrono::hours(1) : checkInterval();
}

void HttpServer::step() {
    if (Clock::now() >= m_nextCheck) {
        closeWhatWaitsTooLong();
        m_nextCheck = Clock::now() + checkInterval();
    }
    const std::size_t connections = m_connections.size();
    MHD_run(m_daemon.get());
    // A connection that waited for the end of another one is only accepted by the next run.
    if (m_connections.size() < connections)
        MHD_run(m_daemon.get());
}

std::chrono::milliseconds HttpServer::checkInterval() const {
    return std::min(std::chrono::milliseconds(500), m_limits.request / 4);
}

/// Also closes connections that wait for a response although their client has left.
void HttpServer::closeWhatWaitsTooLong() {
    const Clock::time_point oldest = Clock::now() - m_limits.request;
    for (auto& [handle, connection] : m_connections) {
        if (!connection.exchange && connection.waitingSince < oldest)
            shutdown(connection.descriptor, SHUT_RDWR);
        if (connection.exchange && connection.exchange->suspended() && hasLeft(connection.descriptor))
            connection.exchange->abandon();
    }
}

void HttpServer::endWithdrawn() {
    for (auto& [handle, connection] : m_connections) {
        const ServedLocation* medium = connection.exchange ? connection.exchange->medium() : nullptr;
        if (medium != nullptr && medium->withdrawn)
            connection.exchange->abandon();
    }
}

} // namespace velmora::desktop
