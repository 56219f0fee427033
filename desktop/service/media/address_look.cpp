#include "service/media/address_look.h"

#include "base/quoted_text.h"
#include "service/media/media_engine.h"
#include "service/media/media_request.h"
#include "service/media/playlist.h"
#include "service/protocol/result_code.h"

#include <fmt/format.h>

#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>

namespace velmora::desktop {

namespace {

using Clock = std::chrono::steady_clock;

struct MultiCleanUp {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
using MultiHandle = std::unique_ptr<CURLM, MultiCleanUp>;

class AddressLook {
public:
    explicit AddressLook(const std::string& url);
    ~AddressLook() { curl_multi_remove_handle(m_multi.get(), m_request.get()); }
    AddressLook(const AddressLook&) = delete;
    AddressLook& operator=(const AddressLook&) = delete;

    MediaAddress run(std::chrono::milliseconds timeout, const std::stop_token& stop);

private:
    static std::size_t onBody(char* bytes, std::size_t one, std::size_t size, void* look);
    std::optional<CURLcode> step();
    void requireSuccess(CURLcode result) const;
    std::string reasonOf(CURLcode result) const;
    long status() const;
    bool isFound() const;

    const std::string m_url;
    std::array<char, CURL_ERROR_SIZE> m_error{};
    MultiHandle m_multi{curl_multi_init()};
    CurlHandle m_request;
    std::string m_body;    ///< its beginning; all of it if it may be a playlist
    bool m_enough = false; ///< whether the request was ended on purpose
};

AddressLook::AddressLook(const std::string& url) : m_url(url), m_request(makeMediaRequest(url)) {
    if (!m_multi)
        throw std::runtime_error("cannot use libcurl");
    curl_easy_setopt(m_request.get(), CURLOPT_ERRORBUFFER, m_error.data());
    curl_easy_setopt(m_request.get(), CURLOPT_WRITEFUNCTION, &onBody);
    curl_easy_setopt(m_request.get(), CURLOPT_WRITEDATA, this);
    curl_multi_add_handle(m_multi.get(), m_request.get());
}

// NOLINTNEXTLINE(readability-non-const-parameter): the type is libcurl's
std::size_t AddressLook::onBody(char* bytes, std::size_t, std::size_t size, void* look) {
    auto& self = *static_cast<AddressLook*>(look);
    self.m_body.append(bytes, size);
    self.m_enough = !mayBePlaylist(self.m_body) || self.m_body.size() > kMaximumPlaylistSize || !self.isFound();
    return self.m_enough ? CURL_WRITEFUNC_ERROR : size;
}

MediaAddress AddressLook::run(std::chrono::milliseconds timeout, const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] { curl_multi_wakeup(m_multi.get()); });
    const Clock::time_point deadline = Clock::now() + timeout;
    std::optional<CURLcode> result;
    while (!(result = step())) {
        if (stop.stop_requested())
            throw interruption();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            throw CommandFailure(ResultCode::Unplayable, fmt::format("Not ready within {} ms", timeout.count()));
        curl_multi_poll(m_multi.get(), nullptr, 0, static_cast<int>(left.count()), nullptr);
    }
    requireSuccess(m_enough ? CURLE_OK : *result);
    const char* url = nullptr;
    curl_easy_getinfo(m_request.get(), CURLINFO_EFFECTIVE_URL, &url);
    return {url, m_enough ? "" : m_body};
}

/// @return the result once the request has ended.
std::optional<CURLcode> AddressLook::step() {
    int count = 0;
    curl_multi_perform(m_multi.get(), &count);
    const CURLMsg* const message = curl_multi_info_read(m_multi.get(), &count);
    return message == nullptr ? std::nullopt : std::optional(message->data.result);
}

void AddressLook::requireSuccess(CURLcode result) const {
    if (result != CURLE_OK)
        throw CommandFailure(ResultCode::NotFound,
                             fmt::format("Cannot reach {}: {}", inQuotes(m_url), reasonOf(result)));
    if (!isFound())
        throw CommandFailure(ResultCode::NotFound,
                             fmt::format("The server of {} answers with status {}", inQuotes(m_url), status()));
}

long AddressLook::status() const {
    long status = 0;
    curl_easy_getinfo(m_request.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

bool AddressLook::isFound() const {
    return status() >= 200 && status() <= 299;
}

std::string AddressLook::reasonOf(CURLcode result) const {
    const std::string reason = m_error.front() == '\0' ? curl_easy_strerror(result) : m_error.data();
    long error = 0;
    curl_easy_getinfo(m_request.get(), CURLINFO_OS_ERRNO, &error);
    return error == 0 ? reason : fmt::format("{} ({})", reason, std::strerror(static_cast<int>(error)));
}

} // namespace

MediaAddress lookAtAddress(const std::string& url, std::chrono::milliseconds timeout, const std::stop_token& stop) {
    return AddressLook(url).run(timeout, stop);
}

} // namespace velmora::desktop
