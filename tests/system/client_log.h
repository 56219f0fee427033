// The platform's log, replaced by one that records what the library logs.
#ifndef ZUV_TESTS_SYSTEM_CLIENT_LOG_H
#define ZUV_TESTS_SYSTEM_CLIENT_LOG_H

#include <functional>
#include <string>
#include <vector>

namespace velmora::system_test {

/// The lines that the library has logged in this process, up to the level of ordinary progress, without their line
/// ends. Any thread.
class ClientLog {
public:
    static std::vector<std::string> lines();

    /// The number of lines that contain this text.
    static std::size_t count(const std::string& text);

    /// Waits for the `count`th line that contains this text. @return false when it does not come within kPatience.
    static bool await(const std::string& text, std::size_t count = 1);

    /// Runs `action` on the thread that logs the first line containing this text, before the library goes on there. Set
    /// before that line can come; one at a time.
    static void hold(const std::string& text, std::function<void()> action);
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_CLIENT_LOG_H
