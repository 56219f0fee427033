#include "log/desktop_log.h"

#include "log/spdlog_level.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

namespace velmora::desktop {
namespace {

constexpr const char* kVariable = "ZUV_LOG_LEVEL";

// With microseconds: a round trip over the bus takes about a hundred.
constexpr const char* kPattern = "[%Y-%m-%d %H:%M:%S.%f] [%n] %v";

constexpr std::array<std::pair<std::string_view, int>, 5> kLimitNames = {{{"off", kLogOff},
                                                                          {"milestones", kLogMilestones},
                                                                          {"failures", kLogFailures},
                                                                          {"progress", kLogProgress},
                                                                          {"dump", kLogDump}}};

std::optional<int> parseLimit(std::string_view text) {
    for (const auto& [name, limit] : kLimitNames) {
        if (text == name)
            return limit;
    }
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || number < 0)
        return std::nullopt;
    return number;
}

int readLogLimit() {
    const char* text = std::getenv(kVariable);
    if (text == nullptr)
        return kLogFailures;
    const std::optional<int> limit = parseLimit(text);
    if (!limit)
        std::fprintf(stderr,
                     "%s=%s is not understood: off, milestones, failures, progress, dump or a number is. "
                     "Using failures.\n",
                     kVariable, text);
    return limit.value_or(kLogFailures);
}

// The limit is applied here and not with spdlog's levels: for spdlog a failure is more important than a milestone, for
// ZUV_LOG_LEVEL it is the other way round.
class LimitedSink final : public spdlog::sinks::stderr_sink_mt {
public:
    void log(const spdlog::details::log_msg& message) override {
        if (isLogged(levelOf(message.level)))
            spdlog::sinks::stderr_sink_mt::log(message);
    }
};

template <typename Sink>
std::shared_ptr<spdlog::logger> makeLogger() {
    auto logger = std::make_shared<spdlog::logger>(program_invocation_short_name, std::make_shared<Sink>());
    logger->set_pattern(kPattern);
    logger->set_level(spdlog::level::trace);
    return logger;
}

spdlog::level::level_enum spdlogLevel(Severity severity) {
    switch (severity) {
    case Severity::Info:
        return spdlog::level::info;
    case Severity::Debug:
        return spdlog::level::debug;
    case Severity::Warning:
        return spdlog::level::warn;
    default:
        return spdlog::level::err;
    }
}

} // namespace

bool isLogged(int level) {
    static const int limit = readLogLimit();
    return level <= limit;
}

// Never destroyed, because threads of the host may log until the process ends.
spdlog::logger& desktopLog() {
    static auto& logger = *new std::shared_ptr(makeLogger<LimitedSink>());
    return *logger;
}

void logFormatted(Severity severity, fmt::string_view format, fmt::format_args arguments) {
    desktopLog().log(spdlogLevel(severity), fmt::vformat(format, arguments));
}

void writeLogLine(std::string_view line) {
    static auto& logger = *new std::shared_ptr(makeLogger<spdlog::sinks::stderr_sink_mt>());
    logger->info(line.substr(0, line.find_last_not_of('\n') + 1));
}

} // namespace velmora::desktop
