#include "desktop/service/http/silent_server.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace velmora::desktop {

SilentServer::SilentServer() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(m_socket.get(), generic, size), 0);
    EXPECT_EQ(listen(m_socket.get(), 5), 0);
    EXPECT_EQ(getsockname(m_socket.get(), generic, &size), 0);
    m_port = ntohs(address.sin_port);
}

std::string SilentServer::url() const {
    return "http://127.0.0.1:" + std::to_string(m_port) + "/film.webm";
}

void SilentServer::awaitClient() const {
    pollfd waited{m_socket.get(), POLLIN, 0};
    EXPECT_EQ(poll(&waited, 1, 20'000), 1);
}

} // namespace velmora::desktop
