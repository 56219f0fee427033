// The example programs as a person runs them, beside the service on a private bus: their exit status and their output.
#include "support/processes.h"

#include <gtest/gtest.h>

#include <string>

using namespace velmora;

namespace {

const std::string kPlayer = ZUV_PROGRAMS_DIR "/zuv-player ";
const std::string kOnPrivateBus = ZUV_PROGRAMS_DIR "/zuv-desktop run --private-shm -- ";
const std::string kClip = ZUV_TEST_MEDIA_DIR "/clip.webm";

ProgramResult play(const std::string& arguments) {
    return runInShell(kOnPrivateBus + kPlayer + arguments);
}

ProgramResult playInScenario(const std::string& scenario, const std::string& medium) {
    return runInShell(ZUV_PROGRAMS_DIR "/zuv-desktop run --private-shm --engine simulated --scenario " + scenario +
                      " -- " + kPlayer + medium);
}

bool contains(const ProgramResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
}

class PlayerInBothModes : public ::testing::TestWithParam<const char*> {};

TEST_P(PlayerInBothModes, PlaysTheWholeProgrammeAndProvesTheBytes) {
    const ProgramResult result = play(std::string(GetParam()) + " --seek 1 " + kClip);

    EXPECT_EQ(result.status, 0) << result.output;
    for (const char* step : {"main video: url http://127.0.0.1:", "main video: definitions ",
                             "advertisement: url http://127.0.0.1:", "Seek Done.", "preloaded; local URL ", "done"})
        EXPECT_TRUE(contains(result, step)) << step << "\n" << result.output;
}

TEST_P(PlayerInBothModes, SaysSoWhenTheMediumCannotBePlayed) {
    const ProgramResult result = play(std::string(GetParam()) + " " ZUV_TEST_MEDIA_DIR "/not-media.txt");

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_TRUE(contains(result, "zuv-player: no url for ")) << result.output;
    EXPECT_TRUE(contains(result, "ZUV Media Proxy stated : 415")) << result.output;
}

INSTANTIATE_TEST_SUITE_P(Modes, PlayerInBothModes, ::testing::Values("", "--sync"),
                         [](const auto& mode) { return *mode.param ? "Synchronous" : "Asynchronous"; });

TEST(Player, SaysSoWhenTheFileIsMissing) {
    const ProgramResult result = runInShell(kPlayer + "/no/such/file.webm");

    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result, "zuv-player: no such media file: /no/such/file.webm")) << result.output;
}

TEST(Player, SaysSoWhenTheLibraryIsMissing) {
    const ProgramResult result = runInShell(kPlayer + "--library /no/such/library.so " + kClip);

    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result, "cannot load the media proxy library: /no/such/library.so")) << result.output;
}

TEST(Player, SaysSoWhenThereIsNoBus) {
    const ProgramResult result = runInShell("DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent " + kPlayer + kClip);

    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result, "the media service does not answer")) << result.output;
}

TEST(Player, ExplainsItsOptions) {
    const ProgramResult result = runInShell(kPlayer + "--help");

    EXPECT_EQ(result.status, 0);
    for (const char* option : {"--sync", "--ad", "--seek", "--next", "--library"})
        EXPECT_TRUE(contains(result, option)) << option;
}

// With simulated media any file that exists is played.
TEST(PlayerInAScenario, PlaysWhereTheServiceAnswersTwice) {
    const ProgramResult result = playInScenario("answer-twice", ZUV_TEST_MEDIA_DIR "/not-media.txt");

    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(contains(result, "scenario applies to the answer name=started")) << result.output;
    EXPECT_TRUE(contains(result, "done")) << result.output;
}

// The output ends with the last process that has it open: a service left behind would keep the test waiting.
TEST(PlayerInAScenario, FailsWhereTheServiceFreezesAndThatEndsWithTheRun) {
    const ProgramResult result = playInScenario("service-freezes", kClip);

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_TRUE(contains(result, "scenario: freezing")) << result.output;
    EXPECT_TRUE(contains(result, "zuv-player: no url for ")) << result.output;
}

TEST(MinimalExample, PrintsTheUrl) {
    const ProgramResult result = runInShell(kOnPrivateBus + ZUV_PROGRAMS_DIR "/zuv-minimal " + kClip);

    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result, ": url http://127.0.0.1:")) << result.output;
}

} // namespace
