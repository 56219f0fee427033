// A response of an upstream server, while it is passed on to a reader.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_TRANSFER_H
#define ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_TRANSFER_H

#include "service/http/body_source.h"
#include "service/http/exchange.h"
#include "service/http/upstream_client.h"
#include "service/media/media_request.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

namespace velmora::desktop {

/// Sends the reader's request to the upstream server, and answers the exchange when the first byte of the body has
/// arrived or none will. The transfer pauses while the reader does.
class UpstreamTransfer final : public BodySource {
public:
    /// @param exchange must outlive the transfer.
    UpstreamTransfer(UpstreamClient& client, const std::string& url, Exchange& exchange);
    /// Ends the transfer in any state.
    ~UpstreamTransfer() override;
    UpstreamTransfer(const UpstreamTransfer&) = delete;
    UpstreamTransfer& operator=(const UpstreamTransfer&) = delete;

    ssize_t read(char* bytes, std::size_t size) override;

    // For UpstreamClient:
    CURL* handle() const { return m_easy.get(); }
    void end(CURLcode result);
    void check(std::chrono::steady_clock::time_point now);

private:
    static std::size_t onHeader(char* line, std::size_t one, std::size_t size, void* transfer);
    static std::size_t onBody(char* bytes, std::size_t one, std::size_t size, void* transfer);
    void configure();
    void passFieldsOn();
    bool answer();
    void fail(int status, const char* reason);

    UpstreamClient& m_client;
    Exchange& m_exchange;
    const std::chrono::steady_clock::time_point m_deadline; ///< for the first byte
    std::array<char, CURL_ERROR_SIZE> m_error{};
    CurlFields m_fields;
    CurlHandle m_easy;
    std::size_t m_headerSize = 0;
    bool m_headerEnded = false; ///< of the latest response
    std::string m_buffer;       ///< received, not read yet
    bool m_answered = false;
    bool m_paused = false;
    ssize_t m_outcome = kNothingYet; ///< kEnd or kFailed when nothing more will be received
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_TRANSFER_H
