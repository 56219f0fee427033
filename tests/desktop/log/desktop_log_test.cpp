// The log of the platform's own code: its levels under ZUV_LOG_LEVEL.
#include "desktop/log/logged_lines.h"
#include "log/desktop_log.h"

#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

namespace velmora::log_test {
namespace {

void logEachProgramLevel() {
    desktop::logError("failure name={}", "value");
    desktop::logWarning("warning");
    desktop::logInfo("milestone");
    desktop::logDebug("progress");
}

std::vector<std::string> textsAt(const char* level) {
    std::vector<std::string> texts;
    for (const std::string& line : loggedLines(level, logEachProgramLevel))
        texts.push_back(textOf(line));
    return texts;
}

TEST(DesktopLog, PutsFailuresAndMilestonesOutByDefault) {
    EXPECT_EQ(textsAt(nullptr), (std::vector<std::string>{"failure name=value", "warning", "milestone"}));
}

TEST(DesktopLog, TakesMilestonesForMoreImportantThanFailures) {
    EXPECT_EQ(textsAt("milestones"), std::vector<std::string>{"milestone"});
}

TEST(DesktopLog, PutsProgressOutWhenAsked) {
    EXPECT_EQ(textsAt("progress"),
              (std::vector<std::string>{"failure name=value", "warning", "milestone", "progress"}));
}

TEST(DesktopLog, PutsEverythingOutWhenAsked) {
    EXPECT_EQ(textsAt("dump").size(), 4u);
}

TEST(DesktopLog, PutsNothingOutWhenOff) {
    EXPECT_TRUE(textsAt("off").empty());
}

TEST(DesktopLog, LeavesTheDefaultLoggerOfALibrarysHostAlone) {
    const auto before = spdlog::default_logger();

    desktop::logDebug("unseen");

    EXPECT_EQ(spdlog::default_logger(), before);
}

} // namespace
} // namespace velmora::log_test
