// One end of a TCP connection with control over each byte, for what well-behaved HTTP programs do not do.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_HTTP_TCP_CONNECTION_H
#define ZUV_TESTS_DESKTOP_SERVICE_HTTP_TCP_CONNECTION_H

#include "base/file_descriptor.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace velmora::desktop {

class TcpConnection {
public:
    explicit TcpConnection(FileDescriptor socket) : m_socket(std::move(socket)) {}

    /// Connects to the server of a local URL.
    /// @param receiveBuffer how many bytes the kernel may receive ahead of read(); 0 for its default.
    explicit TcpConnection(const std::string& url, int receiveBuffer = 0);

    int descriptor() const { return m_socket.get(); }

    /// @return false when the other end is gone.
    bool write(const std::string& bytes) const;

    /// Returns everything up to and including the next empty line; what has come of it if the other end closes or
    /// nothing comes for kPatience.
    std::string readHeader();

    /// Returns `size` bytes; fewer if the other end closes or nothing comes for kPatience.
    std::string read(std::size_t size);

    /// Returns everything until the other end closes, or nothing comes for kPatience.
    std::string readRest();

    /// Whether the other end closes the connection within this time. Bytes that arrive before are dropped.
    bool isClosedWithin(std::chrono::milliseconds time);

private:
    bool receive(std::chrono::milliseconds patience);
    std::string take(std::size_t size);

    FileDescriptor m_socket;
    std::string m_received; ///< not returned yet
};

/// A GET request for a local URL. @param lines further header lines, each with its line end.
std::string getRequest(const std::string& url, const std::string& lines = "", const std::string& version = "HTTP/1.1");

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_HTTP_TCP_CONNECTION_H
