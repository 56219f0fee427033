// The platform's log as these tests provide it in place of the desktop's, to look at what the library writes.
#ifndef ZUV_TESTS_SYSTEM_CLIENT_LOG_H
#define ZUV_TESTS_SYSTEM_CLIENT_LOG_H

#include <functional>
#include <string>
#include <vector>

namespace velmora::system_test {

/// Every line that the library wrote since the process began, up to the level of ordinary progress, without
/// its line end. Any thread.
class ClientLog {
public:
    static std::vector<std::string> lines();

    /// How many lines there are with this text in them.
    static std::size_t count(const std::string& text);

    /// Waits for the `count`th line with this text in it. False when it does not come in kPatience.
    static bool await(const std::string& text, std::size_t count = 1);

    /// Holds the first thread that writes a line with this text in it up for as long as `action` takes: what
    /// the library does next happens after it. Set before that line can come; one at a time.
    static void hold(const std::string& text, std::function<void()> action);
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_CLIENT_LOG_H
