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
#include <optional>
#include <string>
#include <thread>

namespace velmora::desktop {

class MediaServer;

enum class MediumForm {
    Single,
    Playlist, ///< served together with what it refers to
};

/// A medium that is served from construction to destruction; the server outlives it.
class ServedMedium {
public:
    ServedMedium(MediaServer& server, const MediaLocation& location, MediumForm form = MediumForm::Single);
    ~ServedMedium();
    ServedMedium(const ServedMedium&) = delete;
    ServedMedium& operator=(const ServedMedium&) = delete;

    /// The local URL, with a path that cannot be guessed. That of a playlist ends with the playlist's name.
    std::string url() const;

    /// The local URL of what a playlist refers to; without a value if it is not in the playlist's folder or below it.
    std::optional<std::string> urlOf(const std::string& reference) const;

private:
    std::string urlOfTarget(const std::string& target) const;

    MediaServer& m_server;
    const MediaLocation m_location;
    const std::string m_path; ///< without the playlist's name
    std::string m_target;     ///< what follows in the path of the medium itself
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
    void add(const std::string& path, std::shared_ptr<ServedLocation> medium);
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
