// What the platform's programs make of their command lines.
#include "base/command_line.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace velmora::desktop {
namespace {

constexpr const char* kVariable = "ZUV_TEST_SPEED";

/// A program with an option of each kind.
class CommandLineTest : public testing::Test {
protected:
    CommandLineTest() {
        m_parser.addFlag("--quiet", "Say nothing", m_quiet);
        m_parser.addText({"--scenario", "What happens", ""}, m_scenario);
        m_parser.addWord({"--engine", "What plays", ""}, {"gstreamer", "simulated"}, m_engine);
        m_parser.addNumber({"--speed", "How fast", kVariable}, {0.5, 20}, m_speed);
        m_run.addFlag("--alone", "Beside nobody", m_alone);
        m_run.addText({"--beside", "Beside whom", ""}, m_beside);
    }
    ~CommandLineTest() override { unsetenv(kVariable); }

    std::optional<int> parse(std::vector<std::string> words) {
        words.insert(words.begin(), "program");
        std::vector<char*> arguments;
        arguments.reserve(words.size());
        for (std::string& word : words)
            arguments.push_back(word.data());
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const auto status = m_parser.parse(static_cast<int>(arguments.size()), arguments.data());
        m_output = testing::internal::GetCapturedStdout();
        m_errors = testing::internal::GetCapturedStderr();
        return status;
    }

    void expectRefusal(const std::vector<std::string>& words, const std::string& problem) {
        EXPECT_EQ(parse(words), 2);
        EXPECT_EQ(m_output, "");
        EXPECT_NE(m_errors.find(": " + problem + "\nTry '"), std::string::npos) << m_errors;
    }

    bool m_quiet = false;
    bool m_alone = false;
    std::string m_beside;
    std::string m_scenario;
    std::string m_engine = "gstreamer";
    double m_speed = 1;
    std::vector<std::string> m_command;
    CommandLineParser m_parser{"A program."};
    CommandLineParser& m_run = m_parser.addSubcommand("run", "Runs a command", m_command);
    std::string m_output;
    std::string m_errors;
};

TEST_F(CommandLineTest, LeavesWhatIsNotGivenAsItIs) {
    EXPECT_EQ(parse({}), std::nullopt);
    EXPECT_FALSE(m_quiet);
    EXPECT_EQ(m_engine, "gstreamer");
    EXPECT_EQ(m_speed, 1);
    EXPECT_FALSE(m_run.isGiven());
}

TEST_F(CommandLineTest, TakesTheValuesThatAreGiven) {
    EXPECT_EQ(parse({"--quiet", "--scenario", "a b", "--engine=simulated", "--speed", "0.5"}), std::nullopt);
    EXPECT_TRUE(m_quiet);
    EXPECT_EQ(m_scenario, "a b");
    EXPECT_EQ(m_engine, "simulated");
    EXPECT_EQ(m_speed, 0.5);
}

TEST_F(CommandLineTest, TakesACommandAsItIs) {
    EXPECT_EQ(parse({"run", "--alone", "--", "sh", "--help", "--", "[x]", ""}), std::nullopt);
    EXPECT_TRUE(m_run.isGiven());
    EXPECT_TRUE(m_alone);
    EXPECT_EQ(m_command, (std::vector<std::string>{"sh", "--help", "--", "[x]", ""}));
}

TEST_F(CommandLineTest, ReadsAVariableUnlessTheOptionIsGiven) {
    setenv(kVariable, "7", 1);
    EXPECT_EQ(parse({}), std::nullopt);
    EXPECT_EQ(m_speed, 7);
    EXPECT_EQ(parse({"--speed", "8"}), std::nullopt);
    EXPECT_EQ(m_speed, 8);
}

TEST_F(CommandLineTest, RefusesAVariableThatIsWrong) {
    setenv(kVariable, "fast", 1);
    expectRefusal({}, R"(--speed (or ZUV_TEST_SPEED): "fast" is not a number from 0.5 to 20)");
}

TEST_F(CommandLineTest, PrintsHelpAndTheVersion) {
    EXPECT_EQ(parse({"--help"}), 0);
    EXPECT_NE(m_output.find("--engine"), std::string::npos);
    EXPECT_EQ(parse({"run", "--help"}), 0);
    EXPECT_NE(m_output.find("--alone"), std::string::npos);
    EXPECT_EQ(parse({"--version"}), 0);
    EXPECT_EQ(m_output, ZUV_VERSION "\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(CommandLineTest, SuggestsTheNearestOption) {
    expectRefusal({"--scenari", "x"}, R"(no such option: "--scenari"; did you mean "--scenario"?)");
    expectRefusal({"--sceanrio=x"}, R"(no such option: "--sceanrio"; did you mean "--scenario"?)");
    expectRefusal({"run", "--alon", "--", "ls"}, R"(no such option: "--alon"; did you mean "--alone"?)");
    expectRefusal({"rum"}, R"("rum" is not expected; did you mean "run"?)");
    expectRefusal({"--nonsense"}, R"(no such option: "--nonsense")");
}

TEST_F(CommandLineTest, SuggestsTheNearestWord) {
    expectRefusal({"--engine", "gstream"},
                  R"(--engine: "gstream" is not gstreamer or simulated; did you mean "gstreamer"?)");
    expectRefusal({"--engine", "vlc"}, R"(--engine: "vlc" is not gstreamer or simulated)");
}

TEST_F(CommandLineTest, ShortensAndCleansWhatItRepeats) {
    expectRefusal({"--speed", std::string(300, '9')},
                  "--speed (or ZUV_TEST_SPEED): \"" + std::string(40, '9') + "...\" is not a number from 0.5 to 20");
    expectRefusal({"--engine", "a\n\x1b[31m"}, R"(--engine: "a??[31m" is not gstreamer or simulated)");
    expectRefusal({std::string(100'000, 'x')}, "\"" + std::string(40, 'x') + "...\" is not expected");
}

TEST_F(CommandLineTest, RefusesNumbersOutsideTheRange) {
    for (const char* number :
         {"nan", "inf", "-1", "0", "0.49", "20.01", "1e400", "1e-400", "1,5", "5s", "", " 1", "0x1"})
        expectRefusal({"--speed", number},
                      std::string("--speed (or ZUV_TEST_SPEED): \"") + number + "\" is not a number from 0.5 to 20");
    EXPECT_EQ(m_speed, 1);
}

TEST_F(CommandLineTest, RefusesWhatIsMissingOrTooMuch) {
    expectRefusal({"run"}, "-- COMMAND is required");
    expectRefusal({"run", "--"}, "-- COMMAND is required");
    expectRefusal({"run", "ls"}, R"("ls" is not expected: the command goes behind --)");
    expectRefusal({"--", "ls"}, R"("--" is not expected)");
}

TEST_F(CommandLineTest, SaysWhichValueIsMissing) {
    expectRefusal({"--scenario"}, "--scenario needs a value: TEXT");
    expectRefusal({"--scenario="}, "--scenario needs a value: TEXT");
    expectRefusal({"--engine"}, "--engine needs a value: gstreamer or simulated");
    expectRefusal({"--quiet", "--speed"}, "--speed needs a value: NUMBER");
    expectRefusal({"run", "--beside", "--", "ls"}, "--beside needs a value: TEXT");
}

TEST_F(CommandLineTest, TakesNoOptionForAValue) {
    expectRefusal({"--scenario", "--engine", "simulated"}, "--scenario needs a value: TEXT");
    expectRefusal({"--engine", "--quiet"}, "--engine needs a value: gstreamer or simulated");
    expectRefusal({"--speed", "--speed", "3"}, "--speed needs a value: NUMBER");
    expectRefusal({"run", "--beside", "--alone", "--", "ls"}, "--beside needs a value: TEXT");
    EXPECT_EQ(parse({"--scenario", "--other"}), std::nullopt);
    EXPECT_EQ(m_scenario, "--other");
}

TEST_F(CommandLineTest, RefusesAnOptionThatIsGivenTwice) {
    expectRefusal({"--engine", "simulated", "--engine", "simulated"}, "--engine is given more than once");
    expectRefusal({"--speed=1", "--quiet", "--speed=2", "--speed=3"}, "--speed is given more than once");
    EXPECT_EQ(parse({"--quiet", "--quiet"}), std::nullopt);
}

TEST_F(CommandLineTest, RefusesAValueForAFlag) {
    for (const char* flag : {"--quiet=maybe", "--quiet=3", "--quiet=false"})
        expectRefusal({flag}, "--quiet takes no value");
    expectRefusal({"run", "--alone=no", "--", "ls"}, "--alone takes no value");
    expectRefusal({"--version=2.x"}, "--version takes no value");
}

TEST_F(CommandLineTest, SaysWhereHelpIs) {
    parse({"--nonsense"});
    EXPECT_TRUE(m_errors.ends_with(" --help'.\n")) << m_errors;
    parse({"run"});
    EXPECT_TRUE(m_errors.ends_with(" run --help'.\n")) << m_errors;
    parse({"run", "--beside"});
    EXPECT_TRUE(m_errors.ends_with(" run --help'.\n")) << m_errors;
}

TEST(PrintResult, SaysWhenItCannot) {
    EXPECT_EXIT(std::exit(std::freopen("/dev/full", "w", stdout) == nullptr ? 99 : printResult("text")),
                testing::ExitedWithCode(1), "cannot write to stdout: No space left on device");
}

} // namespace
} // namespace velmora::desktop
