// A session is destroyed at every moment, from every thread: nothing is pending afterwards.
#include "engine/session_test.h"

#include <thread>

using namespace velmora;
using namespace velmora::engine_test;

namespace {

using std::chrono::microseconds;

class Destruction : public SessionTest {
protected:
    Destruction() {
        m_options.limits.probeInterval = milliseconds(1);
        m_options.limits.reuse = milliseconds(1);
    }

    /// Requests of every kind, without waiting for anything.
    std::vector<std::function<void()>> story() {
        return {[this] { m_film = session().start("film", {}, startCompletion()); },
                [this] { session().seek(m_film, 1.0, {}, completion()); },
                [this] { session().startAdvertisement("ad", {}, startCompletion()); },
                [this] { m_next = session().preload("next", {}, completion()); },
                [this] { session().preloadAdvertisement("next ad", {}, completion()); },
                [this] { session().startPreloaded(m_next, startCompletion()); },
                [this] { session().seek(m_next, 2.0, {}, completion()); },
                [this] { session().start("missing", {.position = 1.0, .option = 1}, startCompletion()); },
                [this] { session().stop(m_next, completion()); }};
    }

    /// Ends the session on another thread, while this one runs the loop.
    void destroyElsewhere() {
        std::atomic<bool> ended{false};
        std::thread thread([&] {
            m_session.reset();
            ended = true;
        });
        EXPECT_TRUE(m_host.await([&] { return ended.load(); }));
        thread.join();
    }

    void expectNothingPending() {
        const Lines before = m_host.lines();
        EXPECT_EQ(m_token.use_count(), 1) << "completions are left";
        EXPECT_TRUE(eventually([] { return platform().connections() <= 1; }));
        m_host.runFor(milliseconds(1));
        EXPECT_EQ(m_host.lines(), before);
    }

    // Completions that show when they are destroyed.
    StartCompletion startCompletion() {
        return [this, token = m_token](const Outcome<std::string>&) { m_host.add("outcome"); };
    }
    Completion completion() {
        return [this, token = m_token](const Outcome<Acknowledged>&) { m_host.add("outcome"); };
    }

    const std::shared_ptr<int> m_token = std::make_shared<int>();
    Title m_film{};
    Title m_next{};
};

TEST_F(Destruction, BeforeAnyRequest) {
    session();

    destroyElsewhere();

    expectNothingPending();
}

TEST_F(Destruction, AfterEachRequestOfAStory) {
    for (std::size_t requests = 1; requests <= story().size(); ++requests) {
        const auto actions = story();
        for (std::size_t i = 0; i < requests; ++i)
            actions[i]();

        destroyElsewhere();

        expectNothingPending();
    }
}

TEST_F(Destruction, AtEveryMomentOfAStory) {
    for (int moment = 0; moment < 60; ++moment) {
        for (const auto& action : story())
            action();
        m_host.runFor(milliseconds(0));
        std::this_thread::sleep_for(microseconds(25 * moment)); // time is the subject

        destroyElsewhere();

        expectNothingPending();
    }
}

TEST_F(Destruction, OnTheThreadOfTheLoopDropsWhatWasPosted) {
    for (const auto& action : story())
        action();
    EXPECT_EQ(platform().await("start").name, "start");

    m_session.reset();

    expectNothingPending();
    EXPECT_TRUE(m_host.lines().empty());
}

TEST_F(Destruction, InACompletion) {
    session().start("film", {}, [this, token = m_token](const Outcome<std::string>&) {
        m_session.reset();
        m_host.add("destroyed");
    });
    session().startAdvertisement("ad", {}, startCompletion());

    EXPECT_EQ(m_host.await("destroyed"), "destroyed");
    expectNothingPending();
}

TEST_F(Destruction, InACompletionOfAnotherSession) {
    MediaSession other(m_host.post(), {}, m_options);
    for (const auto& action : story())
        action();
    other.start("film of the other", {}, [this](const Outcome<std::string>&) {
        m_session.reset();
        m_host.add("destroyed");
    });

    EXPECT_EQ(m_host.await("destroyed"), "destroyed");
    EXPECT_EQ(m_token.use_count(), 1) << "completions are left";
}

TEST_F(Destruction, InAReport) {
    SessionObserver observer;
    observer.onLost = [this, token = m_token](Title, const MediaError&) {
        m_session.reset();
        m_host.add("destroyed");
    };
    m_options.limits.probeAnswer = milliseconds(20);
    m_session.emplace(m_host.post(), std::move(observer), m_options);
    session().start("film", {}, [](const Outcome<std::string>&) { platform().endService(); });

    EXPECT_EQ(m_host.await("destroyed"), "destroyed");
    expectNothingPending();
}

// A host whose function runs the task at once has its callbacks on the session's own thread.
TEST_F(Destruction, OnTheSessionsOwnThread) {
    std::atomic<bool> destroyed{false};
    m_session.emplace([](const std::function<void()>& task) { task(); }, SessionObserver{}, m_options);
    session().start("film", {}, [&, token = m_token](const Outcome<std::string>&) {
        m_session.reset();
        destroyed = true;
    });

    EXPECT_TRUE(eventually([&] { return destroyed.load(); }));
    EXPECT_TRUE(eventually([this] { return m_token.use_count() == 1; }));
}

TEST_F(Destruction, WaitsForACallbackOnAnotherThread) {
    std::atomic<bool> isCalled{false};
    std::atomic<bool> returns{false};
    session().start("film", {}, [&](const Outcome<std::string>&) {
        isCalled = true;
        std::this_thread::sleep_for(milliseconds(50)); // time for a destructor that does not wait
        returns = true;
    });
    bool hadReturned = false;
    std::thread destroyer([&] {
        EXPECT_TRUE(eventually([&] { return isCalled.load(); }));
        m_session.reset();
        hadReturned = returns;
    });

    EXPECT_TRUE(m_host.await([&] { return returns.load(); }));

    destroyer.join();
    EXPECT_TRUE(hadReturned);
}

// Every creation takes 200 ms, in vain; the caller must not notice.
TEST_F(Destruction, DoesNotWaitForTheService) {
    platform().endService();
    platform().preventStart();
    for (const auto& action : story())
        action();
    platform().await("create");
    const auto begin = std::chrono::steady_clock::now();

    m_session.reset();

    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(100));
}

TEST_F(Destruction, StopsWhatPlays) {
    playing("film");

    m_session.reset();

    EXPECT_EQ(platform().await("stop").object, platform().await("start").object);
}

TEST_F(Destruction, OfTheHostsLoopBeforeTheSession) {
    auto loop = std::make_unique<PollLoop>();
    m_session.emplace(loop->post(), SessionObserver{}, m_options);
    session().start("film", {}, startCompletion());
    platform().await("start");

    loop.reset();
    session().startAdvertisement("ad", {}, startCompletion());
    platform().await("start", 2);
    m_session.reset();

    EXPECT_EQ(m_token.use_count(), 1);
}

class SeveralThreads : public SessionTest {};

TEST_F(SeveralThreads, MayUseOneSession) {
    constexpr int kThreads = 4;
    constexpr int kRequests = 25;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    session();
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([this] {
            for (int j = 0; j < kRequests; ++j) {
                const Title film = session().start("film", {}, m_host.started("outcome"));
                session().seek(film, j, {}, m_host.done("outcome"));
                session().stop(film, m_host.done("outcome"));
            }
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_TRUE(m_host.await([&] { return m_host.lines().size() == std::size_t{3} * kThreads * kRequests; }))
        << m_host.lines().size();
}

TEST_F(SeveralThreads, MayHaveASessionEach) {
    constexpr std::size_t kSessions = 8;
    std::vector<std::unique_ptr<MediaSession>> sessions(kSessions);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kSessions; ++i)
        threads.emplace_back([&, i] {
            sessions[i] = std::make_unique<MediaSession>(m_host.post(), SessionObserver{}, m_options);
            sessions[i]->start(std::to_string(i), {}, m_host.started("outcome"));
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_TRUE(m_host.await([&] { return m_host.lines().size() == kSessions; }));
    for (std::size_t i = 0; i < kSessions; ++i)
        EXPECT_EQ(std::ranges::count(m_host.lines(), "outcome: local:" + std::to_string(i)), 1);
    std::set<std::string> objects;
    for (const Command& command : platform().commands("start"))
        objects.insert(command.object);
    EXPECT_EQ(objects.size(), kSessions);
}

} // namespace
