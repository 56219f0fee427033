#ifndef ZUV_TESTS_DESKTOP_SERVICE_HTTP_SILENT_SERVER_H
#define ZUV_TESTS_DESKTOP_SERVICE_HTTP_SILENT_SERVER_H

#include "base/file_descriptor.h"

#include <string>

namespace velmora::desktop {

/// Takes connections on 127.0.0.1 and never says a word: a medium behind it neither opens nor fails.
class SilentServer {
public:
    SilentServer();

    std::string url() const;

    /// Returns when a client has connected.
    void awaitClient() const;

private:
    FileDescriptor m_socket;
    unsigned m_port = 0;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_HTTP_SILENT_SERVER_H
