#include "desktop/service/http/tcp_connection.h"

#include "support/awaiting.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <limits>

namespace velmora::desktop {

namespace {

std::size_t pathIn(const std::string& url) {
    return url.find('/', std::string("http://").size());
}

} // namespace

TcpConnection::TcpConnection(const std::string& url, int receiveBuffer)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receiveBuffer > 0)
        setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::string authority = url.substr(0, pathIn(url));
    address.sin_port = htons(static_cast<uint16_t>(std::stoi(authority.substr(authority.rfind(':') + 1))));
    EXPECT_EQ(connect(m_socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
}

bool TcpConnection::write(const std::string& bytes) const {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(m_socket.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

/// @return false at the end, and when nothing comes.
bool TcpConnection::receive(std::chrono::milliseconds patience) {
    pollfd readable{m_socket.get(), POLLIN, 0};
    if (poll(&readable, 1, static_cast<int>(patience.count())) != 1)
        return false;
    std::array<char, 65536> bytes{};
    const ssize_t count = recv(m_socket.get(), bytes.data(), bytes.size(), 0);
    if (count > 0)
        m_received.append(bytes.data(), static_cast<std::size_t>(count));
    return count > 0;
}

std::string TcpConnection::take(std::size_t size) {
    std::string taken = m_received.substr(0, size);
    m_received.erase(0, taken.size());
    return taken;
}

std::string TcpConnection::readHeader() {
    std::size_t end = std::string::npos;
    while ((end = m_received.find("\r\n\r\n")) == std::string::npos)
        if (!receive(kPatience))
            return take(m_received.size());
    return take(end + 4);
}

std::string TcpConnection::read(std::size_t size) {
    while (m_received.size() < size)
        if (!receive(kPatience))
            break;
    return take(size);
}

std::string TcpConnection::readRest() {
    return read(std::numeric_limits<std::size_t>::max());
}

bool TcpConnection::isClosedWithin(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    const auto left = [end] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    };
    while (left().count() > 0) {
        if (!receive(left()))
            return left().count() > 0;
        m_received.clear();
    }
    return false;
}

std::string getRequest(const std::string& url, const std::string& lines, const std::string& version) {
    return "GET " + url.substr(pathIn(url)) + " " + version + "\r\nHost: 127.0.0.1\r\n" + lines + "\r\n";
}

} // namespace velmora::desktop
