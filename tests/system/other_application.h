// A second application, in a process of its own.
#ifndef ZUV_TESTS_SYSTEM_OTHER_APPLICATION_H
#define ZUV_TESTS_SYSTEM_OTHER_APPLICATION_H

#include "base/file_descriptor.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::system_test {

/// The steered application; see steered_application.cpp. A test fails when an answer does not come within kPatience.
class OtherApplication {
public:
    /// Starts it on the bus that DBUS_SESSION_BUS_ADDRESS names.
    OtherApplication();
    ~OtherApplication();
    OtherApplication(const OtherApplication&) = delete;
    OtherApplication& operator=(const OtherApplication&) = delete;

    /// Sends it a command. @return its answer.
    std::string ask(const std::string& what);

    /// Waits for a notification with this beginning. @return the rest of it.
    std::string awaitNotification(const std::string& beginning);

    /// All notifications read so far.
    const std::vector<std::string>& notifications() const { return m_notifications; }

    /// Ends it, and returns when it has ended.
    void end();

private:
    std::string readLine();

    pid_t m_process = 0;
    desktop::FileDescriptor m_socket; ///< its standard input and output
    std::vector<std::string> m_notifications;
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_OTHER_APPLICATION_H
