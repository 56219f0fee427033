#ifndef ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H
#define ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H

#include "service/media/media_location.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

namespace velmora::desktop {

/// A medium as the server's threads share it.
struct ServedLocation {
    MediaLocation location;
    std::atomic<bool> withdrawn = false; ///< transfers that see it end
};

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

/// Serves the bytes of started media over HTTP on 127.0.0.1, to as many as ask: whole or one range at a time.
/// An http medium's bytes are passed on from where they are. Everything else is "404 Not Found".
///
/// Has threads of its own. A reader that takes no bytes for five seconds is cut off, as a web engine that
/// pauses expects; it comes back with a range.
class MediaServer {
public:
    /// Listens on a port that the kernel picks.
    /// @throws std::runtime_error
    MediaServer();
    /// Waits for transfers to end, at most for a reader or a source that is cut off.
    ~MediaServer();
    MediaServer(const MediaServer&) = delete;
    MediaServer& operator=(const MediaServer&) = delete;

private:
    friend class ServedMedium;
    void add(const std::string& path, const MediaLocation& location);
    void withdraw(const std::string& path);
    std::shared_ptr<const ServedLocation> find(const std::string& path);
    void respond(const httplib::Request& request, httplib::Response& response);

    std::mutex m_mutex; ///< guards m_media
    std::map<std::string, std::shared_ptr<ServedLocation>> m_media;
    std::unique_ptr<httplib::Server> m_server;
    int m_port;
    std::jthread m_listener;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_MEDIA_SERVER_H
