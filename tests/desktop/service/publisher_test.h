// A publisher on an event loop that the test runs by hand, with a record of what it sends.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_PUBLISHER_TEST_H
#define ZUV_TESTS_DESKTOP_SERVICE_PUBLISHER_TEST_H

#include "base/random_token.h"
#include "desktop/log/captured_log.h"
#include "service/event_publisher.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace velmora::desktop {

class PublisherTest : public testing::Test {
protected:
    using Clock = std::chrono::steady_clock;

    struct Sent {
        std::vector<std::string> values;
        std::string inRegion; ///< what shared memory held when it was sent
        Clock::time_point when;
    };

    ~PublisherTest() override;

    static Event eventNamed(const std::string& name);

    std::string regionText() const;

    /// Runs the loop until so much has been sent. The test fails when that takes too long.
    void runUntilSent(std::size_t count);

    /// Runs the loop for at most that long, until something happens.
    void runOnce(std::chrono::microseconds limit);

    const std::string m_name = "/zuv-test-" + randomToken();
    EventRegion m_region{m_name};
    const EventLoop m_loop = makeEventLoop();
    std::vector<Sent> m_sent;
    bool m_canSend = true;
    CapturedLog m_log;
    EventPublisher m_publisher{m_loop.get(), m_region, [this](const std::vector<std::string>& values) {
                                   m_sent.push_back({values, regionText(), Clock::now()});
                                   return m_canSend;
                               }};
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_PUBLISHER_TEST_H
