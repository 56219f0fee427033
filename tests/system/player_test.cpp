// The example player as a person runs it: beside the service on a private bus, by its exit status and its
// words.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

struct Outcome {
    int status;
    std::string output; ///< standard output and error together
};

Outcome run(const std::string& command) {
    std::FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    Outcome outcome{-1, ""};
    std::array<char, 4096> piece;
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), pipe))
        outcome.output.append(piece.data(), size);
    const int result = pclose(pipe);
    if (WIFEXITED(result))
        outcome.status = WEXITSTATUS(result);
    return outcome;
}

const std::string kPlayer = ZUV_PROGRAMS_DIR "/zuv-player ";
const std::string kOnPrivateBus = ZUV_PROGRAMS_DIR "/zuv-desktop run --private-shm -- ";
const std::string kClip = ZUV_TEST_MEDIA_DIR "/clip.webm";

Outcome play(const std::string& arguments) {
    return run(kOnPrivateBus + kPlayer + arguments);
}

Outcome playInScenario(const std::string& scenario, const std::string& medium) {
    return run(ZUV_PROGRAMS_DIR "/zuv-desktop run --private-shm --engine simulated --scenario " + scenario + " -- " +
               kPlayer + medium);
}

bool contains(const Outcome& outcome, const std::string& text) {
    return outcome.output.find(text) != std::string::npos;
}

class PlayerInBothModes : public ::testing::TestWithParam<const char*> {};

TEST_P(PlayerInBothModes, PlaysTheWholeProgrammeAndProvesTheBytes) {
    const Outcome outcome = play(std::string(GetParam()) + " --seek 1 " + kClip);

    EXPECT_EQ(outcome.status, 0) << outcome.output;
    for (const char* step : {"main video: url http://127.0.0.1:", "main video: definitions ",
                             "advertisement: url http://127.0.0.1:", "Seek Done.", "preloaded; local URL ", "done"})
        EXPECT_TRUE(contains(outcome, step)) << step << "\n" << outcome.output;
}

TEST_P(PlayerInBothModes, SaysSoWhenTheMediumCannotBePlayed) {
    const Outcome outcome = play(std::string(GetParam()) + " " ZUV_TEST_MEDIA_DIR "/not-media.txt");

    EXPECT_EQ(outcome.status, 1) << outcome.output;
    EXPECT_TRUE(contains(outcome, "zuv-player: no url for ")) << outcome.output;
    EXPECT_TRUE(contains(outcome, "ZUV Media Proxy stated : 415")) << outcome.output;
}

INSTANTIATE_TEST_SUITE_P(Modes, PlayerInBothModes, ::testing::Values("", "--sync"),
                         [](const auto& mode) { return *mode.param ? "Synchronous" : "Asynchronous"; });

TEST(Player, SaysSoWhenTheFileIsMissing) {
    const Outcome outcome = run(kPlayer + "/no/such/file.webm");

    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(outcome, "zuv-player: no such media file: /no/such/file.webm")) << outcome.output;
}

TEST(Player, SaysSoWhenTheLibraryIsMissing) {
    const Outcome outcome = run(kPlayer + "--library /no/such/library.so " + kClip);

    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(outcome, "cannot load the media proxy library: /no/such/library.so")) << outcome.output;
}

TEST(Player, SaysSoWhenThereIsNoBus) {
    const Outcome outcome = run("DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent " + kPlayer + kClip);

    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(contains(outcome, "the media service does not answer")) << outcome.output;
}

TEST(Player, ExplainsItsOptions) {
    const Outcome outcome = run(kPlayer + "--help");

    EXPECT_EQ(outcome.status, 0);
    for (const char* option : {"--sync", "--ad", "--seek", "--next", "--library"})
        EXPECT_TRUE(contains(outcome, option)) << option;
}

// Whatever exists plays with simulated media.
TEST(PlayerInAScenario, PlaysWhereTheServiceAnswersTwice) {
    const Outcome outcome = playInScenario("answer-twice", ZUV_TEST_MEDIA_DIR "/not-media.txt");

    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(contains(outcome, "scenario applies to the answer name=started")) << outcome.output;
    EXPECT_TRUE(contains(outcome, "done")) << outcome.output;
}

// The output ends when the last process that has it does: a service left behind would keep it open.
TEST(PlayerInAScenario, FailsWhereTheServiceFreezesAndThatEndsWithTheRun) {
    const Outcome outcome = playInScenario("service-freezes", kClip);

    EXPECT_EQ(outcome.status, 1) << outcome.output;
    EXPECT_TRUE(contains(outcome, "scenario: freezing")) << outcome.output;
    EXPECT_TRUE(contains(outcome, "zuv-player: no url for ")) << outcome.output;
}

TEST(MinimalExample, PrintsTheUrl) {
    const Outcome outcome = run(kOnPrivateBus + ZUV_PROGRAMS_DIR "/zuv-minimal " + kClip);

    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(contains(outcome, ": url http://127.0.0.1:")) << outcome.output;
}

} // namespace
