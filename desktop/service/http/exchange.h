// One request and its response.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_EXCHANGE_H
#define ZUV_DESKTOP_SERVICE_HTTP_EXCHANGE_H

#include "service/http/body_source.h"
#include "service/http/http_message.h"
#include "service/http/served_location.h"

#include <microhttpd.h>

#include <memory>

namespace velmora::desktop {

/// Exists from the end of a request's header to the end of its response. Used on the server's thread only.
class Exchange {
public:
    Exchange(MHD_Connection* connection, HttpRequest request)
        : m_connection(connection), m_request(std::move(request)) {}
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    const HttpRequest& request() const { return m_request; }

    /// The requested medium; null until it is found.
    const ServedLocation* medium() const { return m_medium.get(); }
    /// What of it is requested: the medium itself, or what a playlist refers to.
    const MediaLocation& location() const { return m_location; }
    void setMedium(std::shared_ptr<const ServedLocation> medium, MediaLocation location) {
        m_medium = std::move(medium);
        m_location = std::move(location);
    }

    /// Sets the source of the body. It is kept until the response has ended, even if no body is sent.
    void setBody(std::shared_ptr<BodySource> body) { m_body = std::move(body); }

    /// Determines the response. Further calls have no effect.
    void respond(ResponseHead head);

    /// Continues the response after the body source had nothing yet.
    void resume();

    /// Cuts the connection, and with it the response.
    void abandon();

    /// Whether the connection waits for the response, or for more of its body.
    bool suspended() const { return m_suspended; }

    /// Sends the response, or suspends the connection until there is one.
    MHD_Result proceed();

    /// Logs the response.
    void report(bool complete) const;

private:
    static ssize_t onRead(void* exchange, std::uint64_t position, char* bytes, std::size_t size);
    void suspend();
    MHD_Result send();
    MHD_Response* makeResponse();

    MHD_Connection* const m_connection;
    const HttpRequest m_request;
    std::shared_ptr<const ServedLocation> m_medium;
    MediaLocation m_location;
    std::shared_ptr<BodySource> m_body;
    ResponseHead m_head; ///< status 0 until it is determined
    std::uint64_t m_sent = 0;
    bool m_suspended = false;
    bool m_abandoned = false;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_EXCHANGE_H
