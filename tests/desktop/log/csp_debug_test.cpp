// The logging facility as the client library uses it.
#include "csp_debug.h"
#include "desktop/log/log_from_c.h"
#include "desktop/log/logged_lines.h"
#include "support/log_threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace velmora::log_test {
namespace {

constexpr uint32_t kModule = 0x5Fu << 16;

// One line of each level that the client uses, named by it.
void logEachLevel() {
    for (const uint32_t level : {1u, 1000u, 4000u, 5000u}) {
        const CspDebugLevel descriptor = {{kModule | level, 0, 0}};
        if (cspDebugCheckLevelGetFrameAndChunk(&descriptor) != 0)
            cspDebugOutput0("level %u\n", level);
    }
}

std::vector<std::string> textsOf(const std::vector<std::string>& lines) {
    std::vector<std::string> texts;
    std::transform(lines.begin(), lines.end(), std::back_inserter(texts), textOf);
    return texts;
}

struct LevelCase {
    const char* variable;
    std::vector<std::string> expected;
};

class CspDebugLevels : public ::testing::TestWithParam<LevelCase> {};

TEST_P(CspDebugLevels, LetThroughWhatTheVariableAsksFor) {
    EXPECT_EQ(textsOf(loggedLines(GetParam().variable, logEachLevel)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Variable, CspDebugLevels,
    ::testing::Values(LevelCase{nullptr, {"level 1", "level 1000"}}, LevelCase{"off", {}},
                      LevelCase{"milestones", {"level 1"}}, LevelCase{"failures", {"level 1", "level 1000"}},
                      LevelCase{"progress", {"level 1", "level 1000", "level 4000"}},
                      LevelCase{"dump", {"level 1", "level 1000", "level 4000", "level 5000"}}, LevelCase{"0", {}},
                      LevelCase{"999", {"level 1"}}, LevelCase{"4000", {"level 1", "level 1000", "level 4000"}}),
    [](const auto& tested) { return std::string(tested.param.variable == nullptr ? "unset" : tested.param.variable); });

class CspDebugUnknownLevel : public ::testing::TestWithParam<const char*> {};

TEST_P(CspDebugUnknownLevel, IsComplainedAboutOnceAndTheDefaultHolds) {
    const auto lines = loggedLines(GetParam(), [] {
        logEachLevel();
        logEachLevel();
    });

    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0].rfind("ZUV_LOG_LEVEL=" + std::string(GetParam()) + " is not understood", 0), 0u) << lines[0];
    EXPECT_EQ(textsOf({lines.begin() + 1, lines.end()}),
              (std::vector<std::string>{"level 1", "level 1000", "level 1", "level 1000"}));
}

INSTANTIATE_TEST_SUITE_P(Variable, CspDebugUnknownLevel,
                         ::testing::Values("loud", "", "-1", "12x", " 1", "99999999999", "Dump"));

TEST(CspDebug, PutsTimeAndProgramBeforeTheText) {
    const auto lines = loggedLines(nullptr, [] { cspDebugOutput0("[%s] %s:%d\n", "B-LOG", "file.cpp", 12); });

    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(textOf(lines[0]), "[B-LOG] file.cpp:12");
}

TEST(CspDebug, EndsALineOnceHoweverTheFormatEnds) {
    const auto lines = loggedLines(nullptr, [] {
        cspDebugOutput0("none");
        cspDebugOutput0("one\n");
        cspDebugOutput0("two\n\n");
        cspDebugOutput0("\n");
    });

    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(textsOf(lines), (std::vector<std::string>{"none", "one", "two", ""}));
    EXPECT_EQ(lines[3].back(), ' ') << "an empty line has its time stamp too";
}

TEST(CspDebug, TakesBracesAndPercentSignsOfArgumentsAsTheyAre) {
    const auto lines = loggedLines(nullptr, [] { cspDebugOutput0("%s|%%|{}\n", "{0} %s {{"); });

    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(textOf(lines[0]), "{0} %s {{|%|{}");
}

TEST(CspDebug, PutsLinesOfAnyLengthOutWhole) {
    const std::string text(3'000'000, 'x');

    const auto lines = loggedLines(nullptr, [&] { cspDebugOutput0("%s!\n", text.c_str()); });

    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(lines[0].size() - text.size() - 1), text + "!");
}

TEST(CspDebug, PutsOneLineOutPerCallFromManyThreads) {
    auto texts = textsOf(loggedLines(nullptr, [] { logFromThreads(4, 500); }));

    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, linesFromThreads(4, 500));
}

TEST(CspDebug, IsThereForC) {
    const auto lines = loggedLines(nullptr, [] { logFromC(42); });

    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(textOf(lines[0]), "from C: 42");
}

TEST(BlogBaseName, IsWhatFollowsTheLastSlash) {
    EXPECT_STREQ(blog_base_name("client/src/file.cpp"), "file.cpp");
    EXPECT_STREQ(blog_base_name("/file.cpp"), "file.cpp");
    EXPECT_STREQ(blog_base_name("folder/"), "");
}

TEST(BlogBaseName, IsTheWholePathWithoutASlash) {
    const char* const path = "file.cpp";

    EXPECT_EQ(blog_base_name(path), path);
    EXPECT_STREQ(blog_base_name(""), "");
}

} // namespace
} // namespace velmora::log_test
