// The example programs as a person runs them, beside the service on a private bus: their exit status and their output.
#include "support/processes.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

using namespace velmora;
using velmora::desktop::TemporaryFolder;

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

/// The last line of a program's output.
std::string lastLine(const ProgramResult& result) {
    const std::string text = result.output.substr(0, result.output.find_last_not_of('\n') + 1);
    return text.substr(text.rfind('\n') + 1);
}

/// The last of the lines that the player itself wrote; its service may write more.
std::string reason(const ProgramResult& result) {
    const std::size_t begin = result.output.rfind("zuv-player: ");
    return begin == std::string::npos ? "" : result.output.substr(begin, result.output.find('\n', begin) - begin);
}

class PlayerInBothModes : public ::testing::TestWithParam<const char*> {};

TEST_P(PlayerInBothModes, PlaysTheWholeProgrammeAndProvesTheBytes) {
    const ProgramResult result = play(std::string(GetParam()) + " --seek 1 " + kClip);

    EXPECT_EQ(result.status, 0) << result.output;
    for (const char* step : {"main video: url http://127.0.0.1:", "main video: definitions ",
                             "advertisement: url http://127.0.0.1:", "Seek Done.", "main video: sought to 1.000 s",
                             "next title: preloaded", "done"})
        EXPECT_TRUE(contains(result, step)) << step << "\n" << result.output;
}

/// The lines of a run that are neither the player's steps, nor the client's, nor milestones of the platform.
std::string otherLines(const ProgramResult& result) {
    static const std::regex kExpected(
        R"( *[0-9]+\.[0-9]{3} s  .*)"
        R"(|\[[^\]]+\] \[zuv-player\] \[B-LOG\] .*)"
        R"(|\[[^\]]+\] \[zuv-service\] (ready|ending with the bus|ended)( .*)?)"
        R"(|\[[^\]]+\] \[zuv-service\] (object (created|freed)|started|stopped|medium played) .*)");
    std::string others;
    std::istringstream output(result.output);
    for (std::string line; std::getline(output, line);)
        others += std::regex_match(line, kExpected) ? "" : line + "\n";
    return others;
}

TEST_P(PlayerInBothModes, LogsNoFailureOfThePlatformWhereAllGoesWell) {
    const ProgramResult result = play(std::string(GetParam()) + " " + kClip);

    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(otherLines(result), "") << result.output;
    // The client's line, but about what the service left in shared memory.
    EXPECT_FALSE(contains(result, "Fail to parse json string")) << result.output;
}

TEST_P(PlayerInBothModes, SaysSoWhenTheMediumCannotBePlayed) {
    const ProgramResult result = play(std::string(GetParam()) + " " ZUV_TEST_MEDIA_DIR "/not-media.txt");

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_EQ(reason(result).rfind("zuv-player: main video: failed 415 ", 0), 0U) << result.output;
    // In asynchronous mode the player can be at its end before the library has the answer.
    const bool isSynchronous = *GetParam() != '\0';
    EXPECT_TRUE(!isSynchronous || contains(result, "ZUV Media Proxy stated : 415")) << result.output;
}

TEST_P(PlayerInBothModes, FailsWhereTheSeekFails) {
    const ProgramResult result = play(std::string(GetParam()) + " --seek 1000 " + kClip);

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_EQ(reason(result), "zuv-player: main video: failed 400 Position 1000.000 s is behind the end, 3.000 s")
        << result.output;
}

INSTANTIATE_TEST_SUITE_P(Modes, PlayerInBothModes, ::testing::Values("", "--sync"),
                         [](const auto& mode) { return *mode.param ? "Synchronous" : "Asynchronous"; });

TEST(Player, SaysSoWhenTheFileIsMissing) {
    const ProgramResult result = runInShell(kPlayer + "/no/such/file.webm");

    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lastLine(result), "zuv-player: no such media file: /no/such/file.webm");
}

TEST(Player, TakesANameThatBeginsWithADash) {
    const ProgramResult result = runInShell(kPlayer + "-- --no-such-file");

    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lastLine(result), "zuv-player: no such media file: --no-such-file");
}

TEST(Player, PlaysFileUrls) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink(kClip, folder.path() / "a clip.webm");

    const ProgramResult result = play("file://" + folder.path().string() + "/a%20clip.webm");

    EXPECT_EQ(result.status, 0) << result.output;
}

// The local URL of one player is the other's medium.
TEST(Player, PlaysHttpUrlsAndHasAViewerShowTheMainVideo) {
    const ProgramResult result = play("--viewer '" + kPlayer + "' " + kClip);

    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(contains(result, "starts the main video http://127.0.0.1:")) << result.output;
}

TEST(Player, FailsWhereTheViewerFails) {
    const ProgramResult result = play("--viewer false " + kClip);

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_EQ(reason(result).rfind("zuv-player: the viewer failed: false http://", 0), 0U) << result.output;
}

TEST_P(PlayerInBothModes, HasACameraTakePicturesOfWhatPlays) {
    const ProgramResult result = play(std::string(GetParam()) + " --seek 1.5 --camera 'echo click' " + kClip);

    EXPECT_EQ(result.status, 0) << result.output;
    for (const char* picture : {"click main video 0.000000 http://", "click advertisement 0.000000 http://",
                                "click main video at 1.500 s 1.500000 http://"})
        EXPECT_TRUE(contains(result, picture)) << picture << "\n" << result.output;
}

TEST(Player, FailsWhereTheCameraFails) {
    const ProgramResult result = play("--camera false " + kClip);

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_EQ(reason(result).rfind("zuv-player: the camera failed: false http://", 0), 0U) << result.output;
}

struct WrongCommandLine {
    std::string arguments;
    std::string reason;
};

TEST(Player, SaysWhatIsWrongWithTheCommandLine) {
    for (const auto& [arguments, reason] : std::vector<WrongCommandLine>{
             {"", "MEDIUM is required"},
             {"--snyc a", R"(no such option: "--snyc"; did you mean "--sync"?)"},
             {"--sekk=3 a", R"(no such option: "--sekk"; did you mean "--seek"?)"},
             {"--colour a", R"(no such option: "--colour")"},
             {"-x a", R"(no such option: "-x")"},
             {"a b", R"("b" is not expected: one MEDIUM is enough)"},
             {"--seek soon a", R"(--seek: "soon" is not a number of seconds from 0)"},
             {"--seek -1 a", R"(--seek: "-1" is not a number of seconds from 0)"},
             {"--seek", "--seek needs a value: SECONDS"},
             {"a --ad=", "--ad needs a value: MEDIUM"},
             {"--ad --next a b", "--ad needs a value: MEDIUM"},
             {"--viewer --sync a", "--viewer needs a value: COMMAND"},
             {"--seek 1 --seek 2 a", "--seek is given more than once"},
             {"--sync=maybe a", "--sync takes no value"},
             {"--version=2", "--version takes no value"},
             {"htp://a/b", R"(cannot play htp: URLs, only file:, http: and https: URLs; did you mean "http:"?)"},
             {"file://home/a", R"(not a file of this machine: file://home/a; did you mean "file:///home/a"?)"},
             {"file:/%4", "not a URL: file:/%4: a % is followed by two hexadecimal digits, and is itself %25"}}) {
        const ProgramResult result = runInShell(kPlayer + arguments);

        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_EQ(lastLine(result), "zuv-player: " + reason) << result.output;
    }
}

/// What a program complains of, without the program's name.
std::string complaint(const std::string& command) {
    const ProgramResult result = runInShell(command);
    EXPECT_EQ(result.status, 2) << result.output;
    const std::string line = result.output.substr(0, result.output.find('\n'));
    return line.substr(line.find(": ") + 2);
}

TEST(Player, ComplainsInTheWordsOfThePlatformsPrograms) {
    const std::string service = ZUV_PROGRAMS_DIR "/zuv-service ";
    for (const std::string arguments : {"--verison", "--nonsense", "--hepl=3", "--version=3", "-x"})
        EXPECT_EQ(complaint(kPlayer + arguments), complaint(service + arguments)) << arguments;
    // Where the programs' options differ, compared without their names and kinds of values.
    const auto alike = [&](const std::string& player, const std::string& platform) {
        const std::regex words(R"(--[a-z-]+|[A-Z]+$)");
        EXPECT_EQ(std::regex_replace(complaint(kPlayer + player), words, "X"),
                  std::regex_replace(complaint(service + platform), words, "X"));
    };
    alike("--viewer", "--scenario");
    alike("--ad --next a b", "--scenario --engine b");
    alike("--ad a --ad a b", "--scenario a --scenario a");
    alike("--sync=no a", "--list-scenarios=no");
}

TEST(Player, SaysSoWhenTheLibraryIsMissing) {
    const ProgramResult result = runInShell(kPlayer + "--library /no/such/library.so " + kClip);

    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lastLine(result).rfind("zuv-player: cannot load the media proxy library: /no/such/library.so", 0), 0U)
        << result.output;
}

TEST(Player, SaysSoWhenThereIsNoBus) {
    const ProgramResult result = runInShell("DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent " + kPlayer + kClip);

    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lastLine(result), "zuv-player: the media service does not answer: there is no bus") << result.output;
}

TEST(Player, ExplainsItsOptions) {
    const ProgramResult result = runInShell(kPlayer + "--help");

    EXPECT_EQ(result.status, 0);
    for (const char* option : {"--sync", "--ad", "--seek", "--next", "--library", "--viewer", "--camera", "--version"})
        EXPECT_TRUE(contains(result, option)) << option;
}

TEST(Player, SaysItsVersion) {
    const ProgramResult result = runInShell(kPlayer + "--version");

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(lastLine(result), ZUV_VERSION);
}

// With simulated media any file that exists is played.
TEST(PlayerInAScenario, PlaysWhereTheServiceAnswersTwice) {
    const ProgramResult result = playInScenario("answer-twice", ZUV_TEST_MEDIA_DIR "/not-media.txt");

    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(contains(result, "scenario applies to the answer name=started")) << result.output;
    EXPECT_TRUE(contains(result, "done")) << result.output;
}

TEST(PlayerInAScenario, FailsWhereTheSeekIsNotAnswered) {
    const TemporaryFolder folder;
    const auto scenario =
        addFile(folder, "scenario.json", R"({"description": "Silence.", "rules": [{"command": "seek", "steps": []}]})");

    const ProgramResult result = playInScenario(scenario.string(), kClip);

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_EQ(reason(result), "zuv-player: no seeked for 1.000 s: the media service does not answer") << result.output;
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
