// The logging facility, as the client uses it: is the level wanted, then the line.
#include "csp_debug.h"
#include "platform/conformance_test.h"
#include "platform/platform_under_test.h"
#include "support/log_threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <sstream>
#include <vector>

namespace velmora::platform_test {
namespace {

constexpr uint32_t kModule = 0x5FU << 16;

bool isWanted(uint32_t level) {
    const CspDebugLevel descriptor = {{kModule | level, 0, 0}};
    return cspDebugCheckLevelGetFrameAndChunk(&descriptor) != 0;
}

std::string logOf(const std::function<void()>& action) {
    return platformUnderTest().logOf(action);
}

TEST(LogLevel, IsWantedUpToTheHighestThatIsPutOut) {
    const uint32_t highest = platformUnderTest().highestLevel;

    for (const uint32_t level : {1U, 1000U, 4000U, 5000U})
        EXPECT_EQ(isWanted(level), level <= highest) << level;
}

TEST(LogOutput, FormatsAsPrintfDoes) {
    const std::string log = logOf(
        [] { cspDebugOutput0("[%s] %s:%d:%s(): %s|%%|%5.1f\n", "B-LOG", "file.cpp", 12, "start", "100% {}", 2.5); });

    EXPECT_NE(log.find("[B-LOG] file.cpp:12:start(): 100% {}|%|  2.5\n"), std::string::npos) << log;
}

TEST(LogOutput, PutsALineOutWithoutALookAtItsLevel) {
    EXPECT_NE(logOf([] { cspDebugOutput0("asked before\n"); }).find("asked before\n"), std::string::npos);
}

TEST(LogOutput, PutsLongLinesOutWhole) {
    const std::string text(5000, 'x'); // more than the shared memory's 4096 bytes, which the client logs

    const std::string log = logOf([&] { cspDebugOutput0("%s!\n", text.c_str()); });

    EXPECT_NE(log.find(text + "!\n"), std::string::npos) << log;
}

TEST(LogOutput, PutsOneLineOutPerCallFromManyThreads) {
    std::istringstream log(logOf([] { logFromThreads(4, 200); }));

    std::vector<std::string> lines; // without what the platform puts before them
    for (std::string line; std::getline(log, line);)
        lines.push_back(line.substr(std::min(line.find('<'), line.size())));
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, linesFromThreads(4, 200));
}

// The client logs on the delivery thread, with its own mutexes held.
TEST(LogOutput, FromInsideACallbackWhileAnotherThreadHoldsTheSameMutex) {
    std::mutex mutex;
    std::promise<void> logged;
    Participant sender;
    Participant receiver;
    receiver.client.whenEvent = [&](const Event&) {
        cspDebugOutput0("before the mutex\n");
        const std::lock_guard lock(mutex);
        cspDebugOutput0("with the mutex\n");
        logged.set_value();
    };
    ASSERT_TRUE(sender.join() && receiver.join());

    const std::string log = logOf([&] {
        std::unique_lock lock(mutex);
        sender.access.publish(kEventTopic, {"event"});
        ASSERT_TRUE(receiver.client.awaitEvents(1));
        cspDebugOutput0("with the mutex, elsewhere\n");
        lock.unlock();
        EXPECT_EQ(logged.get_future().wait_for(kPatience), std::future_status::ready);
    });

    for (const char* line : {"before the mutex\n", "with the mutex\n", "with the mutex, elsewhere\n"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
}

TEST(BlogBaseName, IsWhatFollowsTheLastSlash) {
    EXPECT_STREQ(blog_base_name("client/src/file.cpp"), "file.cpp");
    EXPECT_STREQ(blog_base_name("/file.cpp"), "file.cpp");
    EXPECT_STREQ(blog_base_name("folder/"), "");
}

TEST(BlogBaseName, IsTheWholePathWithoutASlash) {
    const char* const path = "file.cpp";

    EXPECT_EQ(blog_base_name(path), path) << "into the path itself: nothing is allocated";
    EXPECT_STREQ(blog_base_name(""), "");
}

} // namespace
} // namespace velmora::platform_test
