// The log of the desktop platform: lines on stderr through spdlog, each with a time stamp and the program's
// name, as many as the environment variable ZUV_LOG_LEVEL asks for.
#ifndef ZUV_DESKTOP_LOG_DESKTOP_LOG_H
#define ZUV_DESKTOP_LOG_DESKTOP_LOG_H

#include <spdlog/logger.h>

#include <string_view>

namespace velmora::desktop {

/// Levels of lines, as ZUV_LOG_LEVEL names and counts them: a line is put out when its level is at most the
/// limit. The platform's own lines take theirs from spdlog's: critical, error and warn are failures, info is
/// a milestone, debug is progress, trace is a dump.
enum LogLevel : int {
    kLogOff = -1,
    kLogMilestones = 1,
    kLogFailures = 1000,
    kLogProgress = 4000,
    kLogDump = 5000,
};

/// Understands a value of ZUV_LOG_LEVEL: off, milestones, failures, progress, dump, or a decimal number.
/// @return false, with `limit` left alone, for anything else.
bool parseLogLimit(std::string_view text, int& limit);

/// Whether a line of this level is wanted. ZUV_LOG_LEVEL is read once in a process; a value that nobody
/// understands is complained about on stderr, once, and counts as `failures`, the default.
bool isLogged(int level);

/// The logger of the platform's own lines. Any thread, also while the process exits: it is never destroyed.
spdlog::logger& desktopLog();

/// Makes desktopLog() the logger of spdlog::info() and its like. For programs only: in a library that other
/// programs load, spdlog's default logger is the program's.
void useDesktopLogAsDefault();

/// Puts `line` out whatever its level; the caller has asked isLogged(). Line ends at its end are dropped.
void writeLogLine(std::string_view line);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LOG_DESKTOP_LOG_H
