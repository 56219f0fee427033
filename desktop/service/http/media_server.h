// Serves started media under local URLs.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H
#define ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H

#include "base/mutex.h"
#include "service/http/http_server.h"
#include "service/http/served_location.h"
#include "service/http/serving_limits.h"
#include "service/http/upstream_client.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>

namespace velmora::desktop {

class MediaServer;

/// A medium that is served from construction to destruction; the server outlives it.
class ServedMedium {
public:
    ServedMedium(MediaServer& server, const MediaLocation& location);
    ~ServedMedium();
    ServedMedium(const ServedMedium&) = delete;
    ServedMedium& operator=(const ServedMedium&) = delete;

    /// The local URL, with a path that cannot be guessed.
    std::string url() const;

private:
    MediaServer& m_server;
    const std::string m_path;
};

/// Serves started media over HTTP on 127.0.0.1, to any number of readers, each at its own pace. An http or https medium
/// is passed on from its upstream server. docs/desktop.md lists the responses.
///
/// A thread of its own serves all readers and fetches from all upstream servers.
class MediaServer {
public:
    /// Listens on a port that the kernel selects.
    /// @throws std::runtime_error
    explicit MediaServer(const ServingLimits& limits = {});
    /// Cuts responses in progress short. Does not wait for readers or upstream servers.
    ~MediaServer();
    MediaServer(const MediaServer&) = delete;
    MediaServer& operator=(const MediaServer&) = delete;

private:
    friend class ServedMedium;
    void add(const std::string& path, const MediaLocation& location);
    void withdraw(const std::string& path);
    std::shared_ptr<const ServedLocation> find(const std::string& path);
    void run(const std::stop_token& stop);
    void answer(Exchange& exchange);

    Mutex m_mutex;
    std::map<std::string, std::shared_ptr<ServedLocation>> m_media ZUV_GUARDED_BY(m_mutex); ///< by path
    std::atomic<bool> m_withdrawing = false; ///< whether responses may have to be cut short
    // Used by the thread only, once it runs:
    UpstreamClient m_upstream;
    HttpServer m_http;
    std::jthread m_thread;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H
