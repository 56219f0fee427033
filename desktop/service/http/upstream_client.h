// The transfers from upstream servers, which provide http and https media: libcurl's multi interface.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_CLIENT_H
#define ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_CLIENT_H

#include "service/http/serving_limits.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <set>

namespace velmora::desktop {

class UpstreamTransfer;

/// Has no thread of its own: all functions except wake() are called on the server's thread.
class UpstreamClient {
public:
    /// @throws std::runtime_error
    explicit UpstreamClient(const ServingLimits& limits);
    /// Destroyed after all transfers.
    ~UpstreamClient() = default;
    UpstreamClient(const UpstreamClient&) = delete;
    UpstreamClient& operator=(const UpstreamClient&) = delete;

    const ServingLimits& limits() const { return m_limits; }

    /// Waits until step() has something to do, the other descriptor is readable, the time is over, or wake() is called.
    void wait(int otherDescriptor, std::chrono::milliseconds patience);

    /// Ends the current wait(), or the next one. Called on any thread.
    void wake();

    /// Continues the transfers as far as possible without waiting.
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
