// The log of the desktop platform: lines on stderr, each with a time stamp and the program's name, up to the level in
// the environment variable ZUV_LOG_LEVEL. Written with spdlog.
#ifndef ZUV_DESKTOP_LOG_DESKTOP_LOG_H
#define ZUV_DESKTOP_LOG_DESKTOP_LOG_H

#include <spdlog/logger.h>

#include <string_view>

namespace velmora::desktop {

/// Levels of lines, as in ZUV_LOG_LEVEL: a line is written when its level is at most the limit. spdlog's levels, which
/// the platform's own code uses, correspond to them: critical, error and warn to failures, info to milestones, debug to
/// progress, trace to dump.
enum LogLevel : int {
    kLogOff = -1,
    kLogMilestones = 1,
    kLogFailures = 1000,
    kLogProgress = 4000,
    kLogDump = 5000,
};

/// The level of this project's that a level of spdlog's corresponds to.
int levelOf(spdlog::level::level_enum level);

/// Whether lines of this level are written. ZUV_LOG_LEVEL (off, milestones, failures, progress, dump or a decimal
/// number; failures by default) is read once in a process. An invalid value is reported on stderr once, and the default
/// applies.
bool isLogged(int level);

/// The logger of the platform's own lines. Any thread, also while the process exits, because it is never destroyed.
spdlog::logger& desktopLog();

/// Makes desktopLog() the logger of spdlog::info() and the like. For programs only: a library leaves spdlog's default
/// logger to the program that loads it.
void useDesktopLogAsDefault();

/// Writes `line` unconditionally, for callers that have asked isLogged(). Newlines at its end are removed.
void writeLogLine(std::string_view line);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LOG_DESKTOP_LOG_H
