// The adapter for a program's own poll() loop.
#include "engine/host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <stdexcept>

using namespace velmora;

namespace {

bool isReadable(const PollLoop& loop) {
    pollfd waited{loop.descriptor(), POLLIN, 0};
    return poll(&waited, 1, 0) == 1;
}

TEST(PollLoop, IsReadableWhileTasksWait) {
    PollLoop loop;
    EXPECT_FALSE(isReadable(loop));

    loop.post()([] {});
    EXPECT_TRUE(isReadable(loop));

    loop.dispatch();
    EXPECT_FALSE(isReadable(loop));
}

TEST(PollLoop, RunsTasksInTheirOrder) {
    PollLoop loop;
    std::string order;
    for (const char* const name : {"a", "b", "c"})
        loop.post()([&order, name] { order += name; });

    loop.dispatch();

    EXPECT_EQ(order, "abc");
}

TEST(PollLoop, RunsWhatATaskAddsInTheNextRound) {
    PollLoop loop;
    std::string order;
    loop.post()([&] {
        order += "a";
        loop.post()([&] { order += "b"; });
    });

    loop.dispatch();
    EXPECT_EQ(order, "a");
    EXPECT_TRUE(isReadable(loop));
    loop.dispatch();

    EXPECT_EQ(order, "ab");
}

TEST(PollLoop, MayBeDispatchedInATask) {
    PollLoop loop;
    std::string order;
    loop.post()([&] {
        loop.post()([&] { order += "inner "; });
        loop.dispatch();
        order += "outer";
    });

    loop.dispatch();

    EXPECT_EQ(order, "inner outer");
}

// As for a task that waits until another one has run.
TEST(PollLoop, RunsInATasksDispatchWhatWasThereBefore) {
    PollLoop loop;
    std::string order;
    loop.post()([&] {
        order += "a";
        loop.post()([&] { order += "c"; });
        EXPECT_TRUE(isReadable(loop));
        loop.dispatch();
    });
    loop.post()([&] { order += "b"; });

    loop.dispatch();

    EXPECT_EQ(order, "abc");
    EXPECT_FALSE(isReadable(loop));
}

TEST(PollLoop, KeepsTheTasksAfterOneThatThrows) {
    PollLoop loop;
    bool hasRun = false;
    loop.post()([] { throw std::runtime_error("of the host"); });
    loop.post()([&] { hasRun = true; });

    EXPECT_THROW(loop.dispatch(), std::runtime_error);
    EXPECT_TRUE(isReadable(loop));
    loop.dispatch();

    EXPECT_TRUE(hasRun);
}

TEST(PollLoop, MayBeDestroyedInATask) {
    auto loop = std::make_unique<PollLoop>();
    bool hasRun = false;
    loop->post()([&] {
        loop.reset();
        hasRun = true;
    });

    loop->dispatch();

    EXPECT_TRUE(hasRun);
}

TEST(PollLoop, DropsTasksAtItsEnd) {
    const auto token = std::make_shared<int>();
    auto loop = std::make_unique<PollLoop>();
    const MediaSession::PostFunction post = loop->post();
    post([token] { ADD_FAILURE(); });

    loop.reset();
    post([token] { ADD_FAILURE(); });

    EXPECT_EQ(token.use_count(), 1);
}

TEST(PollLoop, LeavesItsDescriptorToNoChild) {
    EXPECT_NE(fcntl(PollLoop().descriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

} // namespace
