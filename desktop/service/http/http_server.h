// The HTTP server: libmicrohttpd behind requests and responses that are plain data.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_HTTP_SERVER_H
#define ZUV_DESKTOP_SERVICE_HTTP_HTTP_SERVER_H

#include "service/http/exchange.h"
#include "service/http/serving_limits.h"

#include <chrono>
#include <functional>
#include <memory>
#include <unordered_map>

struct MHD_Daemon;

namespace velmora::desktop {

/// Listens on 127.0.0.1. Has no thread: everything happens within step(), on whatever thread calls it.
///
/// Requests with a body, and those with more or longer header fields than any browser sends, are refused without being
/// handed out.
class HttpServer {
public:
    /// Answers a request by Exchange::respond(), now or later.
    using Handler = std::function<void(Exchange&)>;

    /// On a port that the kernel picks.
    /// @throws std::runtime_error
    HttpServer(const ServingLimits& limits, Handler handler);
    /// Cuts short whatever is being sent.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    unsigned port() const { return m_port; }

    /// Becomes readable when there is something to do for step().
    int descriptor() const { return m_descriptor; }

    /// How long step() may wait to be called while the descriptor is not readable.
    std::chrono::milliseconds patience() const;

    /// Reads, answers and writes what can be without waiting.
    void step();

    /// Cuts the responses short whose medium is withdrawn.
    void endWithdrawn();

private:
    using Clock = std::chrono::steady_clock;
    struct Connection {
        int descriptor;
        Clock::time_point waitingSince;               ///< for a request
        std::unique_ptr<Exchange> exchange = nullptr; ///< none while it waits
        bool handedOut = false;
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
    std::unique_ptr<MHD_Daemon, Stop> m_daemon; ///< last: its end closes the connections
    unsigned m_port = 0;
    int m_descriptor = -1;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_HTTP_SERVER_H
