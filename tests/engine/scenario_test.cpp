// What a session makes of every scenario that comes with the desktop platform; afterwards the next title plays.
#include "engine/system_test.h"
#include "support/loaded_library.h"

#include <filesystem>
#include <set>

using namespace velmora;
using namespace velmora::engine_test;

namespace {

/// What a session makes of the first start.
enum class Seen { Plays, Refused, TimedOut, ServiceGone, PlaysAndIsLost };

struct Row {
    const char* scenario;
    Seen seen;
};

const std::vector<Row> kRows = {
    {"answer-by-both-channels", Seen::Plays},
    {"answer-by-bus-only", Seen::Plays},
    {"answer-by-memory-only", Seen::TimedOut},
    {"answer-delayed", Seen::Plays},
    {"answer-empty", Seen::TimedOut},
    {"answer-missing", Seen::TimedOut},
    {"answer-other-object", Seen::TimedOut},
    {"answer-other-session", Seen::Plays},
    {"answer-too-short", Seen::TimedOut},
    {"answer-twice", Seen::Plays},
    {"answer-wrong-code", Seen::Refused},
    {"answers-out-of-order", Seen::Plays},
    {"events-definitions", Seen::Plays},
    {"events-started-again", Seen::Plays},
    {"events-status-storm", Seen::Plays},
    {"memory-deep-nesting", Seen::Plays},
    {"memory-nested-member", Seen::Plays},
    {"memory-no-zero-byte", Seen::Plays},
    {"memory-not-json", Seen::Plays},
    {"memory-oversize", Seen::Plays},
    {"memory-recreated", Seen::Plays},
    {"memory-removed", Seen::Plays},
    {"memory-root-array", Seen::Plays},
    {"memory-torn", Seen::Plays},
    {"service-aborts", Seen::ServiceGone},
    {"service-exits", Seen::ServiceGone},
    {"service-exits-after-answer", Seen::PlaysAndIsLost},
    {"service-freezes", Seen::ServiceGone},
    {"service-freezes-after-answer", Seen::PlaysAndIsLost},
};

/// The lines of the first start.
Lines linesOf(Seen seen) {
    const std::string gone = "service gone the media service has died or hangs";
    switch (seen) {
    case Seen::Plays:
        return {"first: URL"};
    case Seen::Refused:
        return {"first: refused 500 The scenario says so"};
    case Seen::TimedOut:
        return {"first: timed out the media service did not answer in time"};
    case Seen::ServiceGone:
        return {"first: " + gone};
    case Seen::PlaysAndIsLost:
        return {"first: URL", "first is lost: " + gone};
    }
    return {};
}

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.scenario;
}

class ScenarioTest : public SystemTest {
protected:
    void play(const std::string& scenario) {
        startService(fileBytes(std::string(ZUV_SCENARIOS "/") + scenario + ".json"));
    }
};

class Scenario : public ScenarioTest, public ::testing::WithParamInterface<Row> {};

TEST_P(Scenario, HasOneOutcomeAndLeavesTheNextTitleAlone) {
    if (GetParam().seen == Seen::TimedOut)
        m_options.limits.start = milliseconds(500);
    play(GetParam().scenario);
    Lines expected = linesOf(GetParam().seen);

    start("first");

    EXPECT_TRUE(m_host.await([&] { return linesWithoutUrls().size() == expected.size(); }));
    EXPECT_EQ(linesWithoutUrls(), expected);
    m_options.limits.start = milliseconds(10000);
    start("second");
    expectPlays("second");
    expected.emplace_back("second: URL");
    EXPECT_EQ(linesWithoutUrls(), expected);
}

INSTANTIATE_TEST_SUITE_P(, Scenario, ::testing::ValuesIn(kRows),
                         [](const auto& tested) { return camelCase(tested.param.scenario); });

TEST(Scenarios, AreAllTested) {
    std::set<std::string> tested;
    for (const Row& row : kRows)
        tested.insert(row.scenario);

    std::set<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(ZUV_SCENARIOS))
        files.insert(entry.path().stem());
    EXPECT_EQ(tested, files);
}

class SynchronousMode : public ScenarioTest {};

// Calls of the library wait for their answers then, and throw when they cannot read them.
TEST_F(SynchronousMode, OfTheHostIsNoObstacle) {
    play("memory-nested-member");
    const LoadedLibrary library(ZUV_MEDIA_PROXY_LIBRARY);
    ASSERT_NE(library.manager()->createNewZUVMediaProxySync()->id(), "");

    const Title film = start("first");

    expectPlays("first");
    session().seek(film, 1.0, {}, m_host.done("seek"));
    EXPECT_EQ(m_host.await("seek: "), "seek: done");
}

class Definitions : public ScenarioTest {};

TEST_F(Definitions, ThatPrecedeTheAnswerFollowTheLocalUrl) {
    play("events-definitions");

    start("first");

    EXPECT_TRUE(m_host.await([&] { return m_host.lines().size() == 4; }));
    const Lines& lines = m_host.lines();
    ASSERT_EQ(lines.size(), 4U) << ::testing::PrintToString(lines);
    EXPECT_TRUE(lines[0].starts_with("first: http://")) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("first has 1080p ")) << lines[1];
    EXPECT_TRUE(lines[2].starts_with("first has 720p ")) << lines[2];
    EXPECT_TRUE(lines[3].starts_with("first has 240p http://")) << lines[3];
}

} // namespace
