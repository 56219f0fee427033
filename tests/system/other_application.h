// An application in a process of its own, beside the test's.
#ifndef ZUV_TESTS_SYSTEM_OTHER_APPLICATION_H
#define ZUV_TESTS_SYSTEM_OTHER_APPLICATION_H

#include "base/file_descriptor.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::system_test {

/// Does what it is told; see steered_application.cpp. What does not come in kPatience is a failed test.
class OtherApplication {
public:
    /// Starts it on the bus that DBUS_SESSION_BUS_ADDRESS names.
    OtherApplication();
    ~OtherApplication();
    OtherApplication(const OtherApplication&) = delete;
    OtherApplication& operator=(const OtherApplication&) = delete;

    /// Has it do something. @return what it says came of it.
    std::string ask(const std::string& what);

    /// Waits until its callbacks have brought news that begins so. @return what follows.
    std::string awaitNews(const std::string& beginning);

    /// All that its callbacks have brought up to what was waited for last.
    const std::vector<std::string>& news() const { return m_news; }

    /// Ends it, and returns when it has ended.
    void end();

private:
    std::string readLine();

    pid_t m_process = 0;
    desktop::FileDescriptor m_socket; ///< its standard input and output
    std::vector<std::string> m_news;
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_OTHER_APPLICATION_H
