#include "service/http/exchange.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/http/cross_origin.h"

#include <sys/socket.h>

#include <utility>

namespace velmora::desktop {

namespace {

// How much of a body is read at a time. Each response holds such a block while its reader pauses.
constexpr std::size_t kBlockSize = std::size_t{64} * 1024;

static_assert(BodySource::kEnd == MHD_CONTENT_READER_END_OF_STREAM);
static_assert(BodySource::kFailed == MHD_CONTENT_READER_END_WITH_ERROR);

struct DestroyResponse {
    void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using ResponsePointer = std::unique_ptr<MHD_Response, DestroyResponse>;

} // namespace

void Exchange::respond(ResponseHead head) {
    if (m_head.status != 0)
        return;
    m_head = std::move(head);
    addCrossOriginFields(m_head.fields);
    resume();
}

void Exchange::resume() {
    if (!std::exchange(m_suspended, false))
        return;
    MHD_resume_connection(m_connection);
}

void Exchange::suspend() {
    m_suspended = true;
    MHD_suspend_connection(m_connection);
}

void Exchange::abandon() {
    m_abandoned = true;
    const auto* connection = MHD_get_connection_info(m_connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    shutdown(connection->connect_fd, SHUT_RDWR);
    resume();
}

MHD_Result Exchange::proceed() {
    if (m_abandoned)
        return MHD_NO;
    if (m_head.status != 0)
        return send();
    suspend();
    return MHD_YES;
}

MHD_Result Exchange::send() {
    const ResponsePointer response(makeResponse());
    if (!response)
        return MHD_NO;
    for (const auto& [name, value] : m_head.fields)
        MHD_add_response_header(response.get(), name.c_str(), value.c_str());
    return MHD_queue_response(m_connection, static_cast<unsigned>(m_head.status), response.get());
}

MHD_Response* Exchange::makeResponse() {
    if (m_head.length == 0)
        return MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
    return MHD_create_response_from_callback(m_head.length.value_or(MHD_SIZE_UNKNOWN), kBlockSize, &Exchange::onRead,
                                             this, nullptr);
}

ssize_t Exchange::onRead(void* exchange, std::uint64_t, char* bytes, std::size_t size) {
    auto& self = *static_cast<Exchange*>(exchange);
    if (self.m_abandoned || !self.m_body)
        return BodySource::kFailed;
    const ssize_t count = self.m_body->read(bytes, size);
    if (count == BodySource::kNothingYet)
        self.suspend();
    if (count > 0)
        self.m_sent += static_cast<std::uint64_t>(count);
    return count;
}

void Exchange::report(bool complete) const {
    const std::string& name = !m_medium                 ? m_request.path
                              : m_location.file.empty() ? m_location.uri
                                                        : m_location.file.native();
    logDebug("http method={} medium={} range={} status={} bytes={} complete={}", inQuotes(m_request.method),
             inQuotes(name), inQuotes(m_request.field("Range")), m_head.status, m_sent, complete ? "yes" : "no");
}

} // namespace velmora::desktop
