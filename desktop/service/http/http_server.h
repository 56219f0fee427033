// The HTTP server, a layer over libmicrohttpd with requests and responses as plain data.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_HTTP_SERVER_H
#define ZUV_DESKTOP_SERVICE_HTTP_HTTP_SERVER_H

#include "service/http/exchange.h"
#include "service/http/serving_limits.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

struct MHD_Daemon;

namespace velmora::desktop {

/// Listens on 127.0.0.1. Has no thread of its own: everything happens in step(), on the thread that calls it.
///
/// Refuses requests with a body, and those with more or longer header fields than any browser sends, without calling
/// the handler.
class HttpServer {
public:
    /// Answers a request with Exchange::respond(), at once or later.
    using Handler = std::function<void(Exchange&)>;

    /// Listens on a port that the kernel selects.
    /// @throws std::runtime_error
    HttpServer(const ServingLimits& limits, Handler handler);
    /// Cuts responses in progress short.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    unsigned port() const { return m_port; }

    /// Becomes readable when step() has something to do.
    int descriptor() const { return m_descriptor; }

    /// After which time step() must be called even if the descriptor is not readable.
    std::chrono::milliseconds patience() const;

    /// Reads requests and writes responses as far as possible without waiting.
    void step();

    /// Cuts the responses of withdrawn media short.
    void endWithdrawn();

private:
    using Clock = std::chrono::steady_clock;
    struct Connection {
        int descriptor;
        Clock::time_point waitingSince;               ///< for a request; unused during an exchange
        std::unique_ptr<Exchange> exchange = nullptr; ///< null between two requests
        bool handedOut = false;
        std::string target = {}; ///< of the latest request
    };
    struct Callbacks;

    std::chrono::milliseconds checkInterval() const;
    void closeWhatWaitsTooLong();

    const ServingLimits m_limits;
    const Handler m_handler;
    std::unordered_map<MHD_Connection*, Connection> m_connections;
    Clock::time_point m_nextCheck{};
    struct Stop {
        void operator()(MHD_Daemon* daemon) const;
    };
    std::unique_ptr<MHD_Daemon, Stop> m_daemon; ///< last, because its end closes the connections
    unsigned m_port = 0;
    int m_descriptor = -1;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_HTTP_SERVER_H
