// Logging from several threads at once, for tests of a platform's log.
#ifndef ZUV_TESTS_SUPPORT_LOG_THREADS_H
#define ZUV_TESTS_SUPPORT_LOG_THREADS_H

#include <string>
#include <vector>

namespace velmora {

/// Logs `lines` lines on each of `threads` threads, as the client does: is the level wanted, then the line.
void logFromThreads(int threads, int lines);

/// What that logs, without line ends, sorted. Each line begins with '<' and ends with '>'.
std::vector<std::string> linesFromThreads(int threads, int lines);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_LOG_THREADS_H
