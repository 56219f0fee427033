#include "service/http/upstream_client.h"

#include "service/http/upstream_transfer.h"

#include <algorithm>
#include <stdexcept>

namespace velmora::desktop {

namespace {

constexpr long kKeptConnections = 16;
// How late an exceeded time limit may be noticed.
constexpr std::chrono::milliseconds kCheckInterval(100);

} // namespace

UpstreamClient::UpstreamClient(const ServingLimits& limits) : m_limits(limits), m_multi(curl_multi_init()) {
    if (!m_multi)
        throw std::runtime_error("cannot use libcurl");
    curl_multi_setopt(m_multi.get(), CURLMOPT_MAXCONNECTS, kKeptConnections);
}

void UpstreamClient::wait(int otherDescriptor, std::chrono::milliseconds patience) {
    if (!m_transfers.empty())
        patience = std::min(patience, kCheckInterval);
    if (patience.count() == 0)
        return;
    curl_waitfd other{otherDescriptor, CURL_WAIT_POLLIN, 0};
    curl_multi_poll(m_multi.get(), &other, 1, static_cast<int>(patience.count()), nullptr);
}

void UpstreamClient::wake() {
    curl_multi_wakeup(m_multi.get());
}

void UpstreamClient::step() {
    int running = 0;
    curl_multi_perform(m_multi.get(), &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left)) {
        char* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        reinterpret_cast<UpstreamTransfer*>(transfer)->end(message->data.result);
    }
    const auto now = std::chrono::steady_clock::now();
    for (UpstreamTransfer* transfer : m_transfers)
        transfer->check(now);
}

void UpstreamClient::add(UpstreamTransfer& transfer) {
    m_transfers.insert(&transfer);
    curl_multi_add_handle(m_multi.get(), transfer.handle());
}

void UpstreamClient::remove(UpstreamTransfer& transfer) {
    m_transfers.erase(&transfer);
    curl_multi_remove_handle(m_multi.get(), transfer.handle());
}

} // namespace velmora::desktop
