// The object that finds a callback which calls its own proxy, preloaded into a program that makes this mistake.
#include "support/processes.h"

#include <gtest/gtest.h>

#include <csignal>
#include <regex>
#include <string>

using namespace velmora;

namespace {

ProgramResult runWithMistake(const std::string& mistake) {
    return runInShell("ulimit -c 0; LD_PRELOAD=" ZUV_CALLBACK_CHECK " exec " ZUV_CALLBACK_MISTAKE " " + mistake);
}

class Mistake : public ::testing::TestWithParam<std::string> {};

TEST_P(Mistake, EndsTheProcessWithAMessage) {
    const ProgramResult result = runWithMistake(GetParam());

    EXPECT_EQ(result.status, 128 + SIGABRT);
    const std::string& output = result.output;
    EXPECT_NE(output.find("a callback calls its own proxy"), std::string::npos) << output;
    EXPECT_NE(output.find("  proxy: object-1\n"), std::string::npos) << output;
    EXPECT_NE(output.find("  operation: " + GetParam() + "()\n"), std::string::npos) << output;
    std::smatch thread;
    ASSERT_TRUE(std::regex_search(output, thread, std::regex("^thread ([0-9]+)$", std::regex::multiline))) << output;
    EXPECT_NE(output.find("  thread: " + thread[1].str() + " \"delivery\"\n"), std::string::npos) << output;
    const std::size_t call = output.find("\nThe call:\n");
    const std::size_t lock = output.find("\nThe lock that it would wait for was taken by:\n");
    ASSERT_NE(call, std::string::npos) << output;
    ASSERT_NE(lock, std::string::npos) << output;
    EXPECT_LT(output.find("onMainVideoOfTheMistake", call), lock) << output;
    EXPECT_NE(output.find("libzuv_media_proxy.so", lock), std::string::npos) << output;
    EXPECT_EQ(output.find("onMainVideoOfTheMistake", lock), std::string::npos) << "taken before the callback\n"
                                                                               << output;
}

INSTANTIATE_TEST_SUITE_P(, Mistake,
                         ::testing::Values("id", "localURL", "getState", "start", "stop", "pause", "seek", "preload",
                                           "localAdURL", "getAdState", "startAd", "stopAd", "preloadAd"),
                         [](const auto& tested) { return tested.param; });

class NoMistake : public ::testing::TestWithParam<std::string> {};

TEST_P(NoMistake, IsLeftAlone) {
    const ProgramResult result = runWithMistake(GetParam());

    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(std::regex_match(result.output, std::regex("proxy object-1\nthread [0-9]+\n"))) << result.output;
}

INSTANTIATE_TEST_SUITE_P(, NoMistake, ::testing::Values("getObjectById", "nothing"),
                         [](const auto& tested) { return tested.param; });

} // namespace
