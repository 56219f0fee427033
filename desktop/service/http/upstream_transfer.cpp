#include "service/http/upstream_transfer.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/http/byte_range.h"
#include "service/http/upstream_head.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace velmora::desktop {

namespace {

// For all responses of a transfer together: interim ones, redirects and the final one.
constexpr std::size_t kMaximumUpstreamHeaderSize = std::size_t{64} * 1024;
// How much is received ahead of the reader.
constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

/// Whether a value can be sent in a header without escaping.
bool isPlain(const std::string& value) {
    return std::none_of(value.begin(), value.end(),
                        [](unsigned char byte) { return (byte < ' ' && byte != '\t') || byte == 127; });
}

} // namespace

UpstreamTransfer::UpstreamTransfer(UpstreamClient& client, const std::string& url, Exchange& exchange)
    : m_client(client), m_exchange(exchange), m_deadline(std::chrono::steady_clock::now() + client.limits().firstByte),
      m_easy(makeMediaRequest(url)) {
    configure();
    passFieldsOn();
    m_client.add(*this);
}

UpstreamTransfer::~UpstreamTransfer() {
    m_client.remove(*this);
}

void UpstreamTransfer::configure() {
    CURL* const easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_NOBODY, m_exchange.request().method == "HEAD" ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_client.limits().connect.count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_error.data());
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
}

void UpstreamTransfer::passFieldsOn() {
    const HttpRequest& request = m_exchange.request();
    const auto add = [this](const std::string& line) {
        m_fields.reset(curl_slist_append(m_fields.release(), line.c_str()));
    };
    // Not compressed, because ranges and lengths are those of the medium.
    add("Accept-Encoding: identity");
    const std::string range = request.field("Range");
    const auto asked = requestedBytes(range, std::numeric_limits<std::uint64_t>::max());
    const bool ranged = request.method == "GET" && asked.kind != RequestedBytes::Kind::Whole && isPlain(range);
    if (ranged)
        add("Range: " + range);
    for (const char* name : {"If-Match", "If-None-Match", "If-Modified-Since", "If-Unmodified-Since", "If-Range"}) {
        const std::string value = request.field(name);
        if (!value.empty() && isPlain(value) && (ranged || std::strcmp(name, "If-Range") != 0))
            add(std::string(name) + ": " + value);
    }
    curl_easy_setopt(m_easy.get(), CURLOPT_HTTPHEADER, m_fields.get());
}

/// Ends the transfer if a server sends headers without end, such as "100 Continue" again and again.
// NOLINTNEXTLINE(readability-non-const-parameter): the type is libcurl's
std::size_t UpstreamTransfer::onHeader(char* line, std::size_t, std::size_t size, void* transfer) {
    auto& self = *static_cast<UpstreamTransfer*>(transfer);
    self.m_headerEnded = *line == '\r' || *line == '\n';
    self.m_headerSize += size;
    return self.m_headerSize <= kMaximumUpstreamHeaderSize ? size : CURL_WRITEFUNC_ERROR;
}

std::size_t UpstreamTransfer::onBody(char* bytes, std::size_t, std::size_t size, void* transfer) {
    auto& self = *static_cast<UpstreamTransfer*>(transfer);
    if (!self.answer())
        return CURL_WRITEFUNC_ERROR;
    if (self.m_buffer.size() >= kBufferSize) {
        self.m_paused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    self.m_buffer.append(bytes, size);
    self.m_exchange.resume();
    return size;
}

/// @return whether the body is needed.
bool UpstreamTransfer::answer() {
    if (std::exchange(m_answered, true))
        return m_outcome == kNothingYet;
    ResponseHead head = m_headerEnded ? passedOn(m_easy.get()) : ResponseHead{502};
    if (head.status == 502)
        logWarning("the response for {} cannot be passed on", inQuotes(m_exchange.location().uri));
    m_outcome = head.length == 0 ? kEnd : kNothingYet;
    m_exchange.respond(std::move(head));
    return m_outcome == kNothingYet;
}

void UpstreamTransfer::fail(int status, const char* reason) {
    logWarning("cannot fetch {}: {}", inQuotes(m_exchange.location().uri), reason);
    m_outcome = kFailed;
    m_answered = true;
    m_exchange.respond({status});
    m_exchange.resume();
}

void UpstreamTransfer::end(CURLcode result) {
    if (m_outcome != kNothingYet)
        return;
    if (result != CURLE_OK) {
        const char* const reason = m_error.front() == '\0' ? curl_easy_strerror(result) : m_error.data();
        return fail(result == CURLE_OPERATION_TIMEDOUT ? 504 : 502, reason);
    }
    answer();
    m_outcome = kEnd;
    m_exchange.resume();
}

void UpstreamTransfer::check(std::chrono::steady_clock::time_point now) {
    if (!m_answered && now >= m_deadline)
        fail(504, "the server did not answer in time");
}

ssize_t UpstreamTransfer::read(char* bytes, std::size_t size) {
    if (m_buffer.empty())
        return m_outcome;
    const std::size_t count = m_buffer.copy(bytes, size);
    m_buffer.erase(0, count);
    if (m_buffer.size() <= kBufferSize / 2 && std::exchange(m_paused, false))
        curl_easy_pause(m_easy.get(), CURLPAUSE_CONT);
    return static_cast<ssize_t>(count);
}

} // namespace velmora::desktop
