// The fixture of tests of a session with real processes: a bus of the test's own, the service with simulated media, and
// the client library, all as they are installed.
#ifndef ZUV_TESTS_ENGINE_SYSTEM_TEST_H
#define ZUV_TESTS_ENGINE_SYSTEM_TEST_H

#include "bus/topic_message.h"
#include "engine/host.h"
#include "launcher/private_bus.h"
#include "support/bus_peer.h"
#include "support/http_client.h"
#include "support/processes.h"
#include "support/test_files.h"
#include "support/text.h"
#include "system/startable_service.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <optional>

namespace velmora::engine_test {

using Lines = std::vector<std::string>;
using std::chrono::milliseconds;

inline const std::string kProperService = R"({"description": "A proper service.", "rules": []})";

class SystemTest : public ::testing::Test {
protected:
    SystemTest() {
        setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1);
        // Long enough for a busy machine, and shorter than the defaults, which would make the tests slow.
        m_options.limits.probeInterval = milliseconds(150); // the service keeps news back for 100 ms after an answer
        m_options.limits.probeAnswer = milliseconds(400);
    }

    // The bus would wait for a frozen service before it ends.
    ~SystemTest() override {
        m_session.reset();
        if (isStopped(m_service)) {
            EXPECT_TRUE(sendSignal(m_service, SIGKILL));
        }
    }

    /// Starts a service that plays a scenario. A service that is started after it is a proper one.
    void startService(const std::string& scenario = kProperService) {
        m_startable.nextPlays(scenario);
        ASSERT_GE(BusPeer().start(desktop::kServiceName), 0);
        m_service = BusPeer().processOf(desktop::kServiceName);
        m_startable.nextPlays(kProperService);
    }

    MediaSession& session() {
        if (!m_session)
            m_session.emplace(m_host.post(), m_host.observer(), m_options);
        return *m_session;
    }

    /// Any file that exists plays on the simulated engine. Its content is its name.
    std::string medium(const std::string& name) { return addFile(m_folder, name, name); }

    Title start(const std::string& name) {
        return m_host.named(name, session().start(medium(name), {}, m_host.started(name)));
    }
    Title startAdvertisement(const std::string& name) {
        return m_host.named(name, session().startAdvertisement(medium(name), {}, m_host.started(name)));
    }
    Title preload(const std::string& name) {
        return m_host.named(name, session().preload(medium(name), {}, m_host.done(name)));
    }

    /// Waits for the outcome of a start, and expects that its local URL serves the medium.
    void expectPlays(const std::string& name) {
        const std::string url = m_host.await(name + ": ").substr(name.size() + 2);
        EXPECT_EQ(fetch(url).body, name) << url;
    }

    /// The lines, local URLs shortened to "URL", and without those on definitions.
    Lines linesWithoutUrls() const {
        Lines lines;
        for (const std::string& line : m_host.lines())
            if (line.find(" has ") > line.find(": "))
                lines.push_back(line.substr(0, line.find("http:")) +
                                (line.find("http:") == std::string::npos ? "" : "URL"));
        return lines;
    }

    const system_test::StartableService m_startable;
    desktop::PrivateBus m_bus{m_startable.folder()};
    const desktop::TemporaryFolder m_folder;
    SessionOptions m_options{.library = ZUV_MEDIA_PROXY_LIBRARY, .limits = {}};
    Host m_host;
    std::optional<MediaSession> m_session;
    pid_t m_service = -1; ///< the process that startService() started
};

} // namespace velmora::engine_test

#endif // ZUV_TESTS_ENGINE_SYSTEM_TEST_H
