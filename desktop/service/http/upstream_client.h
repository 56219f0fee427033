// The transfers from the servers that have http and https media: libcurl's multi interface.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_CLIENT_H
#define ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_CLIENT_H

#include "service/http/serving_limits.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <set>

namespace velmora::desktop {

class UpstreamTransfer;

/// Has no thread: everything but wake() is called on the server's.
class UpstreamClient {
public:
    /// @throws std::runtime_error
    explicit UpstreamClient(const ServingLimits& limits);
    /// After all transfers.
    ~UpstreamClient() = default;
    UpstreamClient(const UpstreamClient&) = delete;
    UpstreamClient& operator=(const UpstreamClient&) = delete;

    const ServingLimits& limits() const { return m_limits; }

    /// Waits until there is something to do for step(), another descriptor is readable, the time is over, or wake().
    void wait(int otherDescriptor, std::chrono::milliseconds patience);

    /// Ends wait(), or the next one. Any thread.
    void wake();

    /// Carries the transfers on as far as can be without waiting.
    void step();

private:
    friend class UpstreamTransfer;
    void add(UpstreamTransfer& transfer);
    void remove(UpstreamTransfer& transfer);

    struct CleanUp {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };
    const ServingLimits m_limits;
    std::unique_ptr<CURLM, CleanUp> m_multi;
    std::set<UpstreamTransfer*> m_transfers;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_CLIENT_H
