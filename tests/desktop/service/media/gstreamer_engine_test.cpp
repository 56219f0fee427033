// Real pipelines on generated clips.
#include "base/file_descriptor.h"
#include "desktop/service/http/scripted_server.h"
#include "desktop/service/http/silent_server.h"
#include "log/desktop_log.h"
#include "service/media/gstreamer_engine.h"
#include "service/protocol/result_code.h"
#include "support/test_files.h"

#define GST_USE_UNSTABLE_API // the counting of live objects
#include <gst/gst.h>
#include <gtest/gtest.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <string_view>
#include <thread>

namespace velmora::desktop {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kTimeout{20'000};

/// Tells that a medium has played to its end, which shows in the log only.
class EndOfMedium final : public spdlog::sinks::base_sink<std::mutex> {
public:
    void wait() { m_ended.get_future().wait(); }

private:
    void sink_it_(const spdlog::details::log_msg& message) override {
        if (std::string_view(message.payload.data(), message.payload.size()).starts_with("medium played to its end"))
            m_ended.set_value();
    }
    void flush_() override {}

    std::promise<void> m_ended;
};

class GstreamerEngineTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        // Has GStreamer count what is alive; see liveObjects().
        setenv("GST_TRACERS", "leaks(filters=\"GstElement,GstPad,GstBus,GstMessage\")", 1);
        gst_init(nullptr, nullptr);
    }

    /// How many elements, pads and messages of pipelines there are.
    static unsigned liveObjects() {
        GList* tracers = gst_tracing_get_active_tracers();
        GstStructure* live = nullptr;
        g_signal_emit_by_name(tracers->data, "get-live-objects", &live);
        const unsigned count = gst_value_list_get_size(gst_structure_get_value(live, "live-objects-list"));
        gst_structure_free(live);
        g_list_free_full(tracers, gst_object_unref);
        return count;
    }

    std::unique_ptr<MediaPlayback> open(const std::string& url, double position = 0) {
        return m_engine.open(locateMedia(url), position, m_stop.get_token());
    }

    /// @return the failure of an opening; its code is Ok when it did not fail.
    CommandFailure failureToOpen(const std::string& url, double position = 0) {
        try {
            open(url, position);
        } catch (const CommandFailure& failure) {
            EXPECT_STRNE(failure.what(), "");
            return failure;
        }
        return {ResultCode::Ok, ""};
    }

    static CommandFailure failureToSeek(MediaPlayback& playback, double position) {
        try {
            playback.seek(position, {});
        } catch (const CommandFailure& failure) {
            return failure;
        }
        return {ResultCode::Ok, ""};
    }

    GstreamerEngine m_engine{kTimeout};
    std::stop_source m_stop;
};

TEST_F(GstreamerEngineTest, OpensVideoAndKnowsItsHeight) {
    EXPECT_EQ(open(clip("clip.webm"))->videoHeight(), 240);
    EXPECT_EQ(open("file://" + clip("qualities.webm").string())->videoHeight(), 480);
}

TEST_F(GstreamerEngineTest, OpensSoundAlone) {
    EXPECT_EQ(open(clip("tone.ogg"))->videoHeight(), std::nullopt);
}

TEST_F(GstreamerEngineTest, OpensAtAPosition) {
    EXPECT_NE(open(clip("clip.webm"), 1.5), nullptr);
}

TEST_F(GstreamerEngineTest, SeeksForwardsBackwardsAndToBothEnds) {
    const auto playback = open(clip("clip.webm"));
    for (const double position : {2.0, 0.5, 3.0, 0.0})
        EXPECT_EQ(failureToSeek(*playback, position).code(), ResultCode::Ok) << position;
}

TEST_F(GstreamerEngineTest, SeeksSound) {
    EXPECT_EQ(failureToSeek(*open(clip("tone.ogg")), 1.0).code(), ResultCode::Ok);
}

TEST_F(GstreamerEngineTest, CannotBeSentBehindTheEnd) {
    EXPECT_EQ(failureToOpen(clip("clip.webm"), 99).code(), ResultCode::BadCommand);
    const auto playback = open(clip("clip.webm"));
    EXPECT_EQ(failureToSeek(*playback, 99).code(), ResultCode::BadCommand);
    EXPECT_EQ(failureToSeek(*playback, 1e9).code(), ResultCode::BadCommand);
    EXPECT_EQ(failureToSeek(*playback, 1).code(), ResultCode::Ok);
}

TEST_F(GstreamerEngineTest, StillSeeksAfterTheMediumHasPlayedToItsEnd) {
    const auto end = std::make_shared<EndOfMedium>();
    desktopLog().sinks().push_back(end);
    const auto playback = open(clip("clip.webm"), 2.9);
    end->wait();
    desktopLog().sinks().pop_back();
    EXPECT_EQ(failureToSeek(*playback, 1.0).code(), ResultCode::Ok);
}

TEST_F(GstreamerEngineTest, PlaysSeveralMediaAtOnce) {
    const auto film = open(clip("clip.webm"));
    const auto again = open(clip("clip.webm"));
    const auto advertisement = open(clip("tone.ogg"));
    EXPECT_EQ(failureToSeek(*film, 1.0).code(), ResultCode::Ok);
    EXPECT_EQ(failureToSeek(*advertisement, 1.0).code(), ResultCode::Ok);
}

TEST_F(GstreamerEngineTest, LeavesNothingBehind) {
    failureToSeek(*open(clip("clip.webm")), 1.0);
    failureToOpen(clip("clip.webm"), 99);
    failureToOpen(clip("not-media.txt"));
    failureToOpen("http://127.0.0.1:1/film.webm");
    // Threads of GStreamer may let go of their last object a little later.
    const auto limit = Clock::now() + kTimeout;
    while (liveObjects() > 0 && Clock::now() < limit)
        std::this_thread::yield();
    EXPECT_EQ(liveObjects(), 0U);
}

TEST_F(GstreamerEngineTest, CannotPlayWhatIsNoMedium) {
    EXPECT_EQ(failureToOpen(clip("not-media.txt")).code(), ResultCode::Unplayable);
    EXPECT_EQ(failureToOpen(clip("cut-short.webm")).code(), ResultCode::Unplayable);
}

TEST_F(GstreamerEngineTest, GivesUpOnAMediumThatNeverGetsReady) {
    const SilentServer server;
    GstreamerEngine impatient(std::chrono::milliseconds(300));
    try {
        impatient.open(locateMedia(server.url()), 0, {});
        FAIL() << "opened";
    } catch (const CommandFailure& failure) {
        EXPECT_EQ(failure.code(), ResultCode::Unplayable);
        EXPECT_STREQ(failure.what(), "Not ready within 300 ms");
    }
}

TEST_F(GstreamerEngineTest, CannotFindWhatNobodyServes) {
    const CommandFailure failure = failureToOpen("http://127.0.0.1:1/film.webm");
    EXPECT_EQ(failure.code(), ResultCode::NotFound);
    EXPECT_NE(std::string(failure.what()).find("Connection refused"), std::string::npos) << failure.what();
}

TEST_F(GstreamerEngineTest, CannotFindWhatAServerRefuses) {
    for (const char* status : {"404 Not Found", "500 Internal Server Error"}) {
        const ScriptedServer server(always(std::string("HTTP/1.1 ") + status + "\r\nContent-Length: 0\r\n\r\n"));
        EXPECT_EQ(failureToOpen(server.url()).code(), ResultCode::NotFound) << status;
    }
}

/// Answers the first request with the beginning of a film, and hangs at the second, which is the pipeline's.
class HangingFilm {
public:
    explicit HangingFilm(std::string bytes)
        : m_server([this, film = serving(std::move(bytes))](const std::string& header, TcpConnection& connection) {
              const int earlier = m_requests++;
              if (earlier == 0)
                  return film(header, connection);
              if (earlier == 1)
                  m_hangs.set_value();
              connection.readRest();
              return false;
          }) {}

    std::string url() const { return m_server.url(); }
    void awaitSecondRequest() { m_hangs.get_future().wait(); }

private:
    std::atomic<int> m_requests = 0;
    std::promise<void> m_hangs;
    const ScriptedServer m_server;
};

TEST_F(GstreamerEngineTest, LeavesAServerThatHangsAfterTheFirstLook) {
    HangingFilm film(fileBytes(clip("clip.webm")));
    const auto begun = Clock::now();
    auto failure = std::async(std::launch::async, [&] { return failureToOpen(film.url()); });
    film.awaitSecondRequest();
    m_stop.request_stop();
    EXPECT_EQ(failure.get().code(), ResultCode::Internal);
    EXPECT_LT(Clock::now() - begun, kTimeout / 2);
}

TEST_F(GstreamerEngineTest, LeavesAServerThatDoesNotAnswerWhenItIsStopped) {
    const SilentServer server;
    const auto begun = Clock::now();
    auto failure = std::async(std::launch::async, [&] { return failureToOpen(server.url()); });
    server.awaitClient();
    m_stop.request_stop();
    EXPECT_EQ(failure.get().code(), ResultCode::Internal);
    EXPECT_LT(Clock::now() - begun, kTimeout / 2);
}

TEST_F(GstreamerEngineTest, OpensNothingOnceItIsStopped) {
    m_stop.request_stop();
    EXPECT_EQ(failureToOpen(clip("clip.webm")).code(), ResultCode::Internal);
}

} // namespace
} // namespace velmora::desktop
