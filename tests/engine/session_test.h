// The fixture of tests of a session on the scripted platform.
#ifndef ZUV_TESTS_ENGINE_SESSION_TEST_H
#define ZUV_TESTS_ENGINE_SESSION_TEST_H

#include "engine/host.h"
#include "engine/scripted_platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <set>

namespace velmora::engine_test {

using Lines = std::vector<std::string>;
using std::chrono::milliseconds;

class SessionTest : public ::testing::Test {
protected:
    ~SessionTest() override {
        m_session.reset();
        platform().reset();
    }

    /// The session, which is made on the first call with m_options.
    MediaSession& session() {
        if (!m_session)
            m_session.emplace(m_host.post(), m_host.observer(), m_options);
        return *m_session;
    }

    /// Starts a film. Its URL is its name, and so is that of its outcome.
    Title start(const std::string& name, const StartOptions& options = {}) {
        return m_host.named(name, session().start(name, options, m_host.started(name)));
    }
    Title startAdvertisement(const std::string& name) {
        return m_host.named(name, session().startAdvertisement(name, {}, m_host.started(name)));
    }
    Title preload(const std::string& name, const PreloadOptions& options = {}) {
        return m_host.named(name, session().preload(name, options, m_host.done(name)));
    }
    void seek(Title title, double position, const std::string& name) {
        session().seek(title, position, {}, m_host.done(name));
    }
    void stop(Title title, const std::string& name) { session().stop(title, m_host.done(name)); }

    /// A film that plays.
    Title playing(const std::string& name) {
        const Title title = start(name);
        EXPECT_EQ(m_host.await(name + ": "), name + ": local:" + name);
        return title;
    }

    SessionOptions m_options{.library = ZUV_MEDIA_PROXY_LIBRARY, .limits = {}};
    Host m_host;
    std::optional<MediaSession> m_session;
};

} // namespace velmora::engine_test

#endif // ZUV_TESTS_ENGINE_SESSION_TEST_H
