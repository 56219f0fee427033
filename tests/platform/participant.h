#ifndef ZUV_TESTS_PLATFORM_PARTICIPANT_H
#define ZUV_TESTS_PLATFORM_PARTICIPANT_H

#include "platform/platform_under_test.h"
#include "support/recording_client.h"
#include "zuv_model_access.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <utility>
#include <variant>

namespace velmora::platform_test {

inline constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
inline constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";

/// For what takes microseconds when it works, and for ever when it waits for what the test holds back.
inline constexpr std::chrono::seconds kPatience(10);

/// For a call that returns at once: what a busy machine adds to it.
inline constexpr std::chrono::seconds kAtOnce(1);

/// A connection together with the client that it delivers to.
struct Participant {
    RecordingClient client;
    ZUVModelAccess access{&client};

    /// Connects and starts delivery; whether both worked.
    bool join() { return access.initialize() == 0 && access.start() == 0; }

    /// Reads, and again where 100 ms did not suffice for it on a machine that has other things to do.
    int readPatiently(const std::string& topic, Event& value);

    /// Reads until `topic` has that value; whether it came to have it.
    bool awaitValue(const std::string& topic, const Event& value);
};

/// `action` on a thread of its own, so that a test survives one that never returns as long as something is
/// held back.
template <typename Action>
std::future<void> inBackground(Action action) {
    return std::async(std::launch::async, std::move(action));
}

inline bool isDone(const std::future<void>& action) {
    return action.wait_for(kPatience) == std::future_status::ready;
}

inline bool isDoneAtOnce(const std::future<void>& action) {
    return action.wait_for(kAtOnce) == std::future_status::ready;
}

/// A test that needs a thing that a platform may lack.
template <typename Thing>
class TestWith : public ::testing::Test {
protected:
    explicit TestWith(const std::variant<Thing, Lacking>& offered) : m_offered(offered) {}

    void SetUp() override {
        if (const auto* lacking = std::get_if<Lacking>(&m_offered))
            // The platform has no such thing, and says why: the suite demands nothing of what is not there.
            GTEST_SKIP() << lacking->reason;
    }

    const Thing& thing() const { return std::get<Thing>(m_offered); }

private:
    const std::variant<Thing, Lacking>& m_offered;
};

} // namespace velmora::platform_test

#endif // ZUV_TESTS_PLATFORM_PARTICIPANT_H
