// One request and its response.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_EXCHANGE_H
#define ZUV_DESKTOP_SERVICE_HTTP_EXCHANGE_H

#include "service/http/body_source.h"
#include "service/http/http_message.h"
#include "service/http/served_location.h"

#include <microhttpd.h>

#include <memory>

namespace velmora::desktop {

/// Lives from the end of a request's header to the end of its response. All of it on the server's thread.
class Exchange {
public:
    Exchange(MHD_Connection* connection, HttpRequest request)
        : m_connection(connection), m_request(std::move(request)) {}
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    const HttpRequest& request() const { return m_request; }

    /// What the request is about; none until it is found.
    const ServedLocation* medium() const { return m_medium.get(); }
    void setMedium(std::shared_ptr<const ServedLocation> medium) { m_medium = std::move(medium); }

    /// Where the body will come from. Kept until the response has ended, also when no body is sent.
    void setBody(std::shared_ptr<BodySource> body) { m_body = std::move(body); }

    /// Settles the response; only the first one counts.
    void respond(ResponseHead head);

    /// Tells that the body has more.
    void resume();

    /// Cuts the connection.
    void abandon();

    /// Whether nothing is sent because the response or more of its body is awaited.
    bool suspended() const { return m_suspended; }

    /// Sends the response if it is settled, otherwise waits for it.
    MHD_Result proceed();

    /// Writes the line of the log about it.
    void report(bool complete) const;

private:
    static ssize_t onRead(void* exchange, std::uint64_t position, char* bytes, std::size_t size);
    void suspend();
    MHD_Result send();
    MHD_Response* makeResponse();

    MHD_Connection* const m_connection;
    const HttpRequest m_request;
    std::shared_ptr<const ServedLocation> m_medium;
    std::shared_ptr<BodySource> m_body;
    ResponseHead m_head; ///< status 0 until it is settled
    std::uint64_t m_sent = 0;
    bool m_suspended = false;
    bool m_abandoned = false;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_EXCHANGE_H
