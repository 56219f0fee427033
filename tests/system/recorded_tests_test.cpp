// What is left of a system test: nothing of one that passes, a recording and a report of one that fails.
#include "support/files.h"
#include "support/processes.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace velmora::system_test {
namespace {

namespace fs = std::filesystem;

const fs::path kFolder = ZUV_TEST_RECORDINGS;

struct Left {
    ProgramResult result;
    fs::path recording;
    fs::path page;
};

Left run(const std::string& test) {
    const fs::path recording = kFolder / ("Run." + test + ".jsonl");
    return {runInShell("unset ZUV_TRACE_FILE LD_PRELOAD; " ZUV_FAILING_TEST " --gtest_filter=Run." + test), recording,
            recording.string() + ".html"};
}

void expectRecordingAndReport(const Left& left) {
    EXPECT_NE(left.result.output.find("recorded in " + left.recording.string() + ", report in " + left.page.string()),
              std::string::npos)
        << left.result.output;
    const std::string recording = fileBytes(left.recording);
    for (const char* kind : {R"("role":"service")", "\"k\":\"" ZUV_RECORDED_KIND "\""})
        EXPECT_NE(recording.find(kind), std::string::npos) << kind << '\n' << recording;
    EXPECT_TRUE(fileBytes(left.page).starts_with("<!DOCTYPE html>"));
    fs::remove(left.recording);
    fs::remove(left.page);
}

TEST(FailedTest, LeavesItsRecordingAndAReport) {
    const Left left = run("Fails");

    EXPECT_EQ(left.result.status, 1);
    expectRecordingAndReport(left);
}

TEST(FailedTest, LeavesThemAlsoIfItIsKilled) {
    const Left left = run("Crashes");

    EXPECT_EQ(left.result.status, 128 + SIGKILL);
    expectRecordingAndReport(left);
}

TEST(PassedTest, LeavesNothing) {
    const Left left = run("Passes");

    EXPECT_EQ(left.result.status, 0) << left.result.output;
    EXPECT_FALSE(fs::exists(left.recording));
    EXPECT_FALSE(fs::exists(left.page));
    EXPECT_EQ(left.result.output.find("recorded in"), std::string::npos);
}

TEST(FailedTest, LeavesNothingIfItIsNotRecorded) {
    const ProgramResult result = runInShell("ZUV_TRACE_FILE= LD_PRELOAD= " ZUV_FAILING_TEST " --gtest_filter=*Fails");

    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output.find("recorded in"), std::string::npos) << result.output;
}

} // namespace
} // namespace velmora::system_test
