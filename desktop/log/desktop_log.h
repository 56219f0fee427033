// The log of the desktop platform: lines on stderr, each with a time stamp and the program's name, up to the level in
// the environment variable ZUV_LOG_LEVEL. Written with spdlog.
#ifndef ZUV_DESKTOP_LOG_DESKTOP_LOG_H
#define ZUV_DESKTOP_LOG_DESKTOP_LOG_H

#include <fmt/core.h>

#include <string_view>

namespace spdlog {
class logger;
}

namespace velmora::desktop {

/// Levels of lines, as in ZUV_LOG_LEVEL: a line is written when its level is at most the limit.
enum LogLevel : int {
    kLogOff = -1,
    kLogMilestones = 1,
    kLogFailures = 1000,
    kLogProgress = 4000,
    kLogDump = 5000,
};

/// Whether lines of this level are written. ZUV_LOG_LEVEL (off, milestones, failures, progress, dump or a decimal
/// number; failures by default) is read once in a process. An invalid value is reported on stderr once, and the default
/// applies.
bool isLogged(int level);

/// The logger of the platform's own lines, for whoever wants to see them elsewhere than on stderr. Any thread, also
/// while the process exits, because it is never destroyed. spdlog's default logger is left to the program.
spdlog::logger& desktopLog();

/// What spdlog calls the level of a line. For ZUV_LOG_LEVEL, errors and warnings are failures, information is a
/// milestone, and what is for debugging is progress.
enum class Severity { Error, Warning, Info, Debug };

/// Formats a line of the platform's own code and writes it to desktopLog(). Any thread. Not a template, so that not
/// every file that logs compiles what formats it.
void logFormatted(Severity severity, fmt::string_view format, fmt::format_args arguments);

template <typename... Arguments>
void logError(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    logFormatted(Severity::Error, format, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void logWarning(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    logFormatted(Severity::Warning, format, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void logInfo(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    logFormatted(Severity::Info, format, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void logDebug(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    logFormatted(Severity::Debug, format, fmt::make_format_args(arguments...));
}

/// Writes `line` unconditionally, for callers that have asked isLogged(). Newlines at its end are removed.
void writeLogLine(std::string_view line);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LOG_DESKTOP_LOG_H
