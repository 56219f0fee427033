// A server whose responses are scripted by the test: valid, malformed or incomplete.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_HTTP_SCRIPTED_SERVER_H
#define ZUV_TESTS_DESKTOP_SERVICE_HTTP_SCRIPTED_SERVER_H

#include "base/file_descriptor.h"
#include "base/mutex.h"
#include "desktop/service/http/tcp_connection.h"

#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

namespace velmora::desktop {

class ScriptedServer {
public:
    /// Answers one request, on the thread of its connection.
    /// @param header of the request, including the empty line.
    /// @return whether the connection is kept.
    using Script = std::function<bool(const std::string& header, TcpConnection& connection)>;

    explicit ScriptedServer(Script script);
    /// Cuts all connections.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::string url(const std::string& target = "/film.webm") const;

    /// The headers of the requests so far.
    std::vector<std::string> requests();

private:
    void listen();
    void serve(int socket);

    const Script m_script;
    FileDescriptor m_socket;
    unsigned m_port = 0;
    Mutex m_mutex;
    bool m_ending ZUV_GUARDED_BY(m_mutex) = false;
    std::list<int> m_open ZUV_GUARDED_BY(m_mutex); ///< sockets
    std::vector<std::string> m_requests ZUV_GUARDED_BY(m_mutex);
    std::list<std::jthread> m_connections; ///< used by the listener only, until it has ended
    std::jthread m_listener;
};

/// Answers every request with the same bytes, then closes the connection.
ScriptedServer::Script always(std::string answer);

/// Serves these bytes, whole and in ranges "a-b" and "a-".
ScriptedServer::Script serving(std::string bytes);

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_HTTP_SCRIPTED_SERVER_H
