#include "desktop/service/http/scripted_server.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <regex>

namespace velmora::desktop {

ScriptedServer::ScriptedServer(Script script)
    : m_script(std::move(script)), m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(m_socket.get(), generic, size), 0);
    EXPECT_EQ(::listen(m_socket.get(), 64), 0);
    EXPECT_EQ(getsockname(m_socket.get(), generic, &size), 0);
    m_port = ntohs(address.sin_port);
    m_listener = std::jthread([this] { listen(); });
}

ScriptedServer::~ScriptedServer() {
    shutdown(m_socket.get(), SHUT_RDWR);
    m_listener.join();
    {
        const MutexLock lock(m_mutex);
        m_ending = true;
        for (const int socket : m_open)
            shutdown(socket, SHUT_RDWR);
    }
    m_connections.clear();
}

std::string ScriptedServer::url(const std::string& target) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + target;
}

std::vector<std::string> ScriptedServer::requests() {
    const MutexLock lock(m_mutex);
    return m_requests;
}

void ScriptedServer::listen() {
    for (int socket = 0; (socket = accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        {
            const MutexLock lock(m_mutex);
            m_open.push_back(socket);
        }
        m_connections.emplace_back([this, socket] { serve(socket); });
    }
}

void ScriptedServer::serve(int socket) {
    TcpConnection connection{FileDescriptor(socket)};
    for (bool goesOn = true; goesOn;) {
        const std::string header = connection.readHeader();
        {
            const MutexLock lock(m_mutex);
            if (m_ending || header.empty())
                break;
            m_requests.push_back(header);
        }
        goesOn = m_script(header, connection);
    }
    const MutexLock lock(m_mutex); // before the socket is closed, because its number can be reused then
    m_open.remove(socket);
}

ScriptedServer::Script always(std::string answer) {
    return [answer = std::move(answer)](const std::string&, TcpConnection& connection) {
        connection.write(answer);
        return false;
    };
}

ScriptedServer::Script serving(std::string bytes) {
    return [bytes = std::move(bytes)](const std::string& header, TcpConnection& connection) {
        static const std::regex kRange("Range: bytes=([0-9]+)-([0-9]*)");
        std::smatch range;
        std::string status = "200 OK";
        std::string lines = "Content-Type: video/webm\r\nAccept-Ranges: bytes\r\n";
        std::string body = bytes;
        if (std::regex_search(header, range, kRange)) {
            const std::size_t first = std::stoul(range[1]);
            const std::size_t last = range[2].length() > 0 ? std::stoul(range[2]) : bytes.size() - 1;
            const bool possible = first < bytes.size();
            body = possible ? bytes.substr(first, last - first + 1) : "";
            status = possible ? "206 Partial Content" : "416 Range Not Satisfiable";
            const std::string part = std::to_string(first) + "-" + std::to_string(first + body.size() - 1);
            lines += "Content-Range: bytes " + (possible ? part : "*") + "/" + std::to_string(bytes.size()) + "\r\n";
        }
        lines += "Content-Length: " + std::to_string(body.size()) + "\r\n";
        return connection.write("HTTP/1.1 " + status + "\r\n" + lines + "\r\n" +
                                (header.starts_with("HEAD") ? "" : body));
    };
}

} // namespace velmora::desktop
