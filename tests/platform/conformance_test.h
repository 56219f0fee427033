// The common part of the conformance tests: connections, actions in the background, and what a platform may lack.
#ifndef ZUV_TESTS_PLATFORM_CONFORMANCE_TEST_H
#define ZUV_TESTS_PLATFORM_CONFORMANCE_TEST_H

#include "platform/platform_under_test.h"
#include "support/awaiting.h"
#include "support/participant.h"
#include "support/service_protocol.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <utility>
#include <variant>

namespace velmora::platform_test {

/// The time that a busy machine may add to a call that returns at once.
inline constexpr std::chrono::seconds kAtOnce(1);

/// Runs `action` on a thread of its own, so that the test goes on when it does not return while something is held back.
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

/// A test that needs something that a platform may lack; it is skipped then.
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

#endif // ZUV_TESTS_PLATFORM_CONFORMANCE_TEST_H
