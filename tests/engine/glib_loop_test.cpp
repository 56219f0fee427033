// The adapter for GLib's main loop.
#include "engine/scripted_platform.h"
#include "support/awaiting.h"
#include "zuv_glib_loop.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

using namespace velmora;
using namespace velmora::engine_test;

namespace {

class GLibLoop : public ::testing::Test {
protected:
    ~GLibLoop() override { platform().reset(); }

    bool await(const std::function<bool()>& condition) {
        return eventually([&] {
            while (g_main_context_iteration(m_context.get(), FALSE) == TRUE)
                continue;
            return condition();
        });
    }

    using Context = std::unique_ptr<GMainContext, void (*)(GMainContext*)>;

    Context m_context{g_main_context_new(), &g_main_context_unref};
};

TEST_F(GLibLoop, RunsTasksInTheirOrderOnItsThread) {
    const MediaSession::PostFunction post = postToGLib(m_context.get());
    std::string order;
    std::thread::id thread;

    std::thread([&] {
        for (const char* const name : {"a", "b", "c"})
            post([&, name] {
                order += name;
                thread = std::this_thread::get_id();
            });
    }).join();

    EXPECT_TRUE(await([&] { return order.size() == 3; }));
    EXPECT_EQ(order, "abc");
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(GLibLoop, RunsInTheDefaultContextUnlessToldOtherwise) {
    bool hasRun = false;

    postToGLib()([&] { hasRun = true; });

    EXPECT_TRUE(g_main_context_iteration(nullptr, FALSE));
    EXPECT_TRUE(hasRun);
}

TEST_F(GLibLoop, IsNotRunByTheThreadThatPosts) {
    bool hasRun = false;
    g_main_context_push_thread_default(m_context.get());

    postToGLib(m_context.get())([&] { hasRun = true; });

    EXPECT_FALSE(hasRun);
    g_main_context_pop_thread_default(m_context.get());
    EXPECT_TRUE(await([&] { return hasRun; }));
}

TEST_F(GLibLoop, DropsTasksAtItsEnd) {
    const auto token = std::make_shared<int>();
    postToGLib(m_context.get())([token] { ADD_FAILURE(); });

    m_context.reset();

    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(GLibLoop, BringsTheOutcomesOfASession) {
    SessionOptions options;
    options.library = ZUV_MEDIA_PROXY_LIBRARY;
    MediaSession session(postToGLib(m_context.get()), {}, options);
    std::string url;

    session.start("film", {}, [&](const Outcome<std::string>& outcome) { url = outcome.value(); });

    EXPECT_TRUE(await([&] { return url == "local:film"; })) << url;
}

} // namespace
