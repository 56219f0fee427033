// One end of a TCP connection, byte for byte: what an HTTP client of good manners would not do.
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
    /// @param receiveBuffer what the kernel receives ahead of read(), in bytes; 0: as much as it likes.
    explicit TcpConnection(const std::string& url, int receiveBuffer = 0);

    int descriptor() const { return m_socket.get(); }

    /// @return false when the other end is gone.
    bool write(const std::string& bytes) const;

    /// Up to and with the empty line; what there was of it when the other end closes or twenty seconds pass.
    std::string readHeader();

    /// As many bytes; fewer when the other end closes or twenty seconds pass.
    std::string read(std::size_t size);

    /// Everything up to the end.
    std::string readRest();

    /// Whether the other end closes it in this time. What comes before that is dropped.
    bool isClosedWithin(std::chrono::milliseconds time);

private:
    bool receive(std::chrono::milliseconds patience);
    std::string take(std::size_t size);

    FileDescriptor m_socket;
    std::string m_received; ///< and not returned yet
};

/// A request for a local URL, with further header lines, each with its line end.
std::string getRequest(const std::string& url, const std::string& lines = "", const std::string& version = "HTTP/1.1");

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_HTTP_TCP_CONNECTION_H
