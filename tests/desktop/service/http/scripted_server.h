// A server of the test's own, well-behaved or not.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_HTTP_SCRIPTED_SERVER_H
#define ZUV_TESTS_DESKTOP_SERVICE_HTTP_SCRIPTED_SERVER_H

#include "base/file_descriptor.h"
#include "desktop/service/http/tcp_connection.h"

#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace velmora::desktop {

class ScriptedServer {
public:
    /// Answers one request, on a thread of its connection.
    /// @param header of the request, with its empty line.
    /// @return whether the connection goes on.
    using Script = std::function<bool(const std::string& header, TcpConnection& connection)>;

    explicit ScriptedServer(Script script);
    /// Cuts all connections.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::string url(const std::string& target = "/film.webm") const;

    /// The headers of the requests until now.
    std::vector<std::string> requests();

private:
    void listen();
    void serve(int socket);

    const Script m_script;
    FileDescriptor m_socket;
    unsigned m_port = 0;
    std::mutex m_mutex; ///< guards what follows, but m_listener
    bool m_ending = false;
    std::list<int> m_open;
    std::vector<std::string> m_requests;
    std::list<std::jthread> m_connections;
    std::jthread m_listener;
};

/// A server that answers every request with the same bytes.
ScriptedServer::Script always(std::string answer);

/// One that has these bytes, whole and in ranges "a-b" and "a-".
ScriptedServer::Script serving(std::string bytes);

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_HTTP_SCRIPTED_SERVER_H
