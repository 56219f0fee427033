// What the desktop's log writes to stderr.
#ifndef ZUV_TESTS_DESKTOP_LOG_LOGGED_LINES_H
#define ZUV_TESTS_DESKTOP_LOG_LOGGED_LINES_H

#include <functional>
#include <string>
#include <vector>

namespace velmora::log_test {

/// What `log` writes to stderr, in lines, when it runs in a process of its own with ZUV_LOG_LEVEL set to
/// `level`, or unset for a null pointer.
std::vector<std::string> loggedLines(const char* level, const std::function<void()>& log);

/// A line without the time stamp and the program's name before it; empty when it has them not, or not in
/// their form.
std::string textOf(const std::string& line);

} // namespace velmora::log_test

#endif // ZUV_TESTS_DESKTOP_LOG_LOGGED_LINES_H
