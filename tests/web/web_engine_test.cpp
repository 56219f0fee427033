// Pages in a real web engine play through the kit. The colours of pixels tell which clip is on the screen.
#include "bus/topic_message.h"
#include "launcher/private_bus.h"
#include "support/awaiting.h"
#include "support/bus_peer.h"
#include "support/http_client.h"
#include "support/processes.h"
#include "support/test_files.h"
#include "web/web_engine.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace velmora::web_test {
namespace {

using desktop::ScriptedPage;

/// The body of a script, which has clips by their names.
std::string script(const std::string& body) {
    return "const clip = name => '" + clip("").string() + "' + name + '.webm';" +
           "proxy = proxy || await mediaProxy.create();" + body;
}

class WebEngineTest : public testing::Test {
protected:
    void SetUp() override {
        if (!isInstalled("Xvfb"))
            GTEST_SKIP() << "the program Xvfb is missing";
        setenv(desktop::kBusAddressVariable, m_bus.address().c_str(), 1);
        m_engine.emplace();
    }

    void TearDown() override {
        if (HasFailure() && m_engine)
            m_engine->keep(ZUV_WEB_FAILURES_DIR, testing::UnitTest::GetInstance()->current_test_info()->name());
    }

    std::string run(const std::string& body) { return m_engine->page().run(script(body)); }

    /// Runs the body of a script after which the page comes up again.
    void runUntilReady(const std::string& body) {
        EXPECT_EQ(m_engine->page().run(script(body + "; await new Promise(() => {})")), "ready");
    }

    const desktop::PrivateBus m_bus{ZUV_PROGRAMS_DIR};
    std::optional<WebEngine> m_engine;
};

TEST_F(WebEngineTest, ShowsTheFilmTheBreakAndTheFilmAgain) {
    EXPECT_EQ(run("film = await proxy.start(clip('red-then-blue')); return show(film)"), "red");
    EXPECT_EQ(run("return seekTo(proxy, 25)"), "blue");
    EXPECT_EQ(run("return show(await proxy.startAdvertisement(clip('green')))"), "green");
    EXPECT_EQ(run("await proxy.stopAdvertisement(); await show(film); return seekTo(proxy, 26)"), "blue");
    EXPECT_EQ(run("return seekTo(proxy, 5)"), "red");
    EXPECT_EQ(run("await proxy.stop(); return (await fetch(film)).status"), "404");
}

TEST_F(WebEngineTest, ShowsTheFilmThatItPreloadsWhileAnotherPlays) {
    EXPECT_EQ(run("film = await proxy.start(clip('red-then-blue')); return show(film)"), "red");
    EXPECT_EQ(run("await proxy.preload(clip('magenta')); await moving(); return (await fetch(film)).status"), "200");
    EXPECT_EQ(run("return seekTo(proxy, 25)"), "blue");
    EXPECT_EQ(run("return show(await proxy.startPreloaded())"), "magenta");
    EXPECT_EQ(run("return (await fetch(film)).status"), "404");
}

TEST_F(WebEngineTest, StartsAFilmAtAPosition) {
    EXPECT_EQ(run("return show(await proxy.start(clip('red-then-blue'), { position: 25 }) + '#t=25')"), "blue");
}

TEST_F(WebEngineTest, ShowsAnAdvertisementBeforeTheFilm) {
    EXPECT_EQ(run("await proxy.preloadAdvertisement(clip('green'));"
                  "return show(await proxy.startPreloadedAdvertisement())"),
              "green");
    EXPECT_EQ(run("await proxy.preload(clip('red-then-blue')); return colour()"), "green");
    EXPECT_EQ(run("return show(await proxy.startPreloaded())"), "red");
}

TEST_F(WebEngineTest, ZapsThroughTwentyTitles) {
    const std::vector<std::string> colours = {"green", "magenta", "cyan"};
    for (std::size_t i = 0; i < 20; ++i) {
        const std::string& colour = colours[i % colours.size()];
        EXPECT_EQ(run("return show(await proxy.start(clip('" + colour + "')))"), colour);
    }
}

TEST_F(WebEngineTest, PlaysTheLastOfTwentyTitlesThatAreStartedAtOnce) {
    EXPECT_EQ(run(R"(
        const others = [];
        for (let i = 0; i < 19; ++i)
            others.push(rejection(proxy.start(clip("green"))));
        const last = await proxy.start(clip("cyan"));
        return [await show(last), ...new Set(await Promise.all(others))])"),
              "cyan,AbortError");
}

TEST_F(WebEngineTest, TellsAPageWhyATitleDoesNotPlay) {
    EXPECT_EQ(run("return rejection(proxy.start(clip('nothing')))"), "NotFoundError");
    EXPECT_EQ(run("return rejection(proxy.start(clip('nothing').replace('nothing.webm', 'not-media.txt')))"),
              "NotSupportedError");
    EXPECT_EQ(run("return rejection(proxy.seek(1))"), "AbortError") << "of a film that has not started";
    EXPECT_EQ(run("return rejection(proxy.start({ url: 1 }))"), "DataError");
    EXPECT_EQ(run("return show(await proxy.start(clip('green')))"), "green");
}

TEST_F(WebEngineTest, TellsAPageUrlsAndQualities) {
    EXPECT_EQ(run("const told = event(proxy, 'url'); const url = await proxy.start(clip('green'));"
                  "return (await told).detail === url"),
              "true");
    EXPECT_EQ(run("const told = event(proxy, 'adurl'); const url = await proxy.startAdvertisement(clip('green'));"
                  "return (await told).detail === url"),
              "true");
    EXPECT_EQ(run("const told = event(proxy, 'definitions'); await proxy.start(clip('qualities'));"
                  "return (await told).detail.map(definition => definition.name)"),
              "120p,240p,480p");
}

TEST_F(WebEngineTest, EndsWhatAClosedProxyWaitsFor) {
    EXPECT_EQ(run("const started = rejection(proxy.start(clip('green'))); await proxy.close(); return started"),
              "AbortError");
    EXPECT_EQ(run("return rejection(proxy.start(clip('green')))"), "AbortError");
}

// All pages use one library, in the process of the browser.
TEST_F(WebEngineTest, ShowsEachOfTwoTabsItsOwnFilm) {
    ScriptedPage second(mediaProxyPage());
    EXPECT_EQ(run("film = await proxy.start(clip('red-then-blue')); return show(film)"), "red");
    EXPECT_EQ(run("open('" + second.url() + "'); return 'opened'"), "opened");
    ASSERT_TRUE(second.awaitReady());
    EXPECT_EQ(second.run(script("film = await proxy.start(clip('cyan')); return show(film)")), "cyan");
    EXPECT_EQ(run("await proxy.stop(); return proxy.start(clip('green')).then(() => 'started')"), "started");
    EXPECT_EQ(fetchHeader(run("return film")).status, 404);
    EXPECT_EQ(fetchHeader(second.run("return film")).status, 200);
    EXPECT_EQ(second.run("await moving(); return colour()"), "cyan");
}

TEST_F(WebEngineTest, EndsWhatAClosedTabPlayed) {
    ScriptedPage second(mediaProxyPage());
    EXPECT_EQ(run("film = await proxy.start(clip('red-then-blue')); return show(film)"), "red");
    EXPECT_EQ(run("open('" + second.url() + "'); return 'opened'"), "opened");
    ASSERT_TRUE(second.awaitReady());
    EXPECT_EQ(second.run(script("film = await proxy.start(clip('cyan')); return show(film)")), "cyan");
    const std::string url = second.run("return film");
    EXPECT_EQ(fetchHeader(url).status, 200);
    second.begin("close()");
    EXPECT_TRUE(eventually([&] { return fetchHeader(url).status == 404; }));
    EXPECT_EQ(run("await moving(); await seekTo(proxy, 25); return colour()"), "blue") << "the other tab plays on";
}

TEST_F(WebEngineTest, EndsWhatAReloadedPagePlayed) {
    const std::string url = run("return proxy.start(clip('red-then-blue'))");
    EXPECT_EQ(fetchHeader(url).status, 200);
    runUntilReady("location.reload()");
    EXPECT_TRUE(eventually([&] { return fetchHeader(url).status == 404; }));
    EXPECT_EQ(run("return show(await proxy.start(clip('green')))"), "green");
}

TEST_F(WebEngineTest, EndsWhatThePageBeforePlayed) {
    ScriptedPage next(mediaProxyPage());
    const std::string url = run("return proxy.start(clip('red-then-blue'))");
    m_engine->page().begin("location.href = '" + next.url() + "'");
    ASSERT_TRUE(next.awaitReady());
    EXPECT_TRUE(eventually([&] { return fetchHeader(url).status == 404; }));
    EXPECT_EQ(next.run(script("return show(await proxy.start(clip('green')))")), "green");
}

TEST_F(WebEngineTest, LoadsThePageAgainWhoseProcessWasKilled) {
    const std::string url = run("film = await proxy.start(clip('red-then-blue')); await show(film); return film");
    const std::vector<pid_t> processes = m_engine->webProcesses();
    ASSERT_FALSE(processes.empty());
    for (const pid_t process : processes)
        EXPECT_TRUE(sendSignal(process, SIGKILL));
    ASSERT_TRUE(m_engine->page().awaitReady());
    EXPECT_TRUE(eventually([&] { return fetchHeader(url).status == 404; }));
    EXPECT_EQ(run("return show(await proxy.start(clip('green')))"), "green");
}

TEST_F(WebEngineTest, TellsAPageOfTheServicesEnd) {
    EXPECT_EQ(run("lost = event(proxy, 'lost'); return show(await proxy.start(clip('red-then-blue')))"), "red");
    EXPECT_TRUE(sendSignal(BusPeer().processOf(desktop::kServiceName), SIGKILL));
    EXPECT_EQ(run("return (await lost).detail.ad"), "false");
    EXPECT_EQ(run("return rejection(proxy.seek(1))"), "AbortError");
    EXPECT_EQ(run("return show(await proxy.start(clip('red-then-blue'), { position: 25 }) + '#t=25')"), "blue");
}

// In which the library would not reach the bus.
TEST_F(WebEngineTest, KeepsItsPagesInTheSandbox) {
    const std::vector<pid_t> processes = m_engine->webProcesses();
    ASSERT_FALSE(processes.empty());
    for (const pid_t process : processes) {
        const auto mounts = std::filesystem::path("/proc") / std::to_string(process) / "ns/mnt";
        EXPECT_NE(std::filesystem::read_symlink(mounts), std::filesystem::read_symlink("/proc/self/ns/mnt"));
    }
}

} // namespace
} // namespace velmora::web_test
