// Serves started media under local URLs.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H
#define ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H

#include "service/http/http_server.h"
#include "service/http/served_location.h"
#include "service/http/serving_limits.h"
#include "service/http/upstream_client.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
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

    /// The local URL, with a path that nobody can guess.
    std::string url() const;

private:
    MediaServer& m_server;
    const std::string m_path;
};

/// Serves the bytes of started media over HTTP on 127.0.0.1, to as many as ask, each for as long as it likes. The bytes
/// of an http or https medium are passed on from where they are. What is answered to what stands in docs/desktop.md.
///
/// One thread of its own reads, writes and waits for all readers and all foreign servers.
class MediaServer {
public:
    /// Listens on a port that the kernel picks.
    /// @throws std::runtime_error
    explicit MediaServer(const ServingLimits& limits = {});
    /// Cuts short whatever is being sent, and waits for nobody.
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

    std::mutex m_mutex; ///< guards m_media
    std::map<std::string, std::shared_ptr<ServedLocation>> m_media;
    std::atomic<bool> m_withdrawing = false; ///< there may be responses to cut short
    // The thread's alone, once it runs.
    UpstreamClient m_upstream;
    HttpServer m_http;
    std::jthread m_thread;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H
