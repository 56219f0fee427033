// The page for people of examples/web-engine: its story, and its buttons, each with a message that one can see.
#include "bus/topic_message.h"
#include "launcher/private_bus.h"
#include "support/bus_peer.h"
#include "support/files.h"
#include "support/processes.h"
#include "support/test_files.h"
#include "web/web_engine.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

namespace velmora::web_test {
namespace {

/// The media, in the page's address.
std::string media() {
    return "?film=" + clip("red-then-blue.webm").string() + "&ad=" + clip("green.webm").string();
}

class PageForPeople : public testing::Test {
protected:
    void SetUp() override {
        if (!isInstalled("Xvfb"))
            GTEST_SKIP() << "the program Xvfb is missing";
        setenv(desktop::kBusAddressVariable, m_bus.address().c_str(), 1);
    }

    void endService() { EXPECT_TRUE(sendSignal(BusPeer().processOf(desktop::kServiceName), SIGKILL)); }

    const desktop::PrivateBus m_bus{ZUV_PROGRAMS_DIR};
};

/// Whether the browser prints these lines of a page's log, in this order, among others.
testing::AssertionResult logs(Launched& browser, const std::vector<std::string>& lines) {
    std::string seen;
    for (const std::string& expected : lines) {
        std::string line;
        for (int emptyLines = 0; line.find("CONSOLE LOG " + expected) == std::string::npos; seen += line + "\n") {
            line = browser.readLine();
            emptyLines = line.empty() ? emptyLines + 1 : 0;
            if (emptyLines > 2) // as at the end
                return testing::AssertionFailure() << "not " << expected << " after\n" << seen;
        }
    }
    return testing::AssertionSuccess();
}

// As scripts/demo shows it.
TEST_F(PageForPeople, PlaysItsStoryAndGoesOnWhenTheServiceHasEnded) {
    const Display display;
    Launched browser(browserCommand(kBrowser, display.name(), "file://" ZUV_WEB_PAGE + media(), "/dev/stdout"));
    EXPECT_TRUE(logs(browser, {"The film plays from 0.0 s on", "The advertisement is preloaded, the film plays on",
                               "The advertisement plays", "The film plays from 2.", "The film plays on at 6.0 s",
                               "The same film again, preloaded"}));
    endService();
    EXPECT_TRUE(logs(browser, {"The media service is gone", "The film plays from "}));
}

/// The page as a server's, which runs scripts besides.
class ButtonsOfThePage : public PageForPeople {
protected:
    void SetUp() override {
        PageForPeople::SetUp();
        if (!IsSkipped())
            m_engine.emplace(fileBytes(ZUV_WEB_PAGE) + kFunctions, media());
    }

    void TearDown() override {
        if (HasFailure() && m_engine)
            m_engine->keep(ZUV_WEB_FAILURES_DIR, testing::UnitTest::GetInstance()->current_test_info()->name());
    }

    /// The next line that one can see in the page's log and that has this text in it.
    std::string seen(const std::string& text) { return m_engine->page().run("return seen(`" + text + "`)"); }

    /// As seen(), after a button was pressed.
    std::string press(const std::string& button, const std::string& text) {
        return m_engine->page().run("element('" + button + "').click(); return seen(`" + text + "`)");
    }

    std::optional<WebEngine> m_engine;

private:
    static constexpr const char* kFunctions = R"(<script>
        let looked = 0;
        async function seen(text) {
            const logged = () => new Promise(resolve => {
                new MutationObserver(resolve).observe(element("log"), { childList: true });
            });
            for (;; await logged()) {
                const lines = [...element("log").children].slice(looked);
                const found = lines.findIndex(line => line.textContent.includes(text) && line.getClientRects().length);
                if (found < 0)
                    continue;
                looked += found + 1;
                return lines[found].textContent.replace(/^.* s  /, "");
            }
        }
    </script>)";
};

TEST_F(ButtonsOfThePage, SayWhatTheyDo) {
    ASSERT_EQ(seen("plays"), "The film plays from 0.0 s on");
    EXPECT_EQ(press("advertise", "plays"), "The advertisement plays");
    EXPECT_TRUE(press("seek", "plays on").starts_with("The film plays on at 1")) << "in the break as well";
    EXPECT_EQ(press("stop", "Stopped"), "Stopped");
    EXPECT_EQ(press("play", "plays"), "The film plays from 0.0 s on");
    EXPECT_TRUE(press("seek", "plays on").starts_with("The film plays on at 10."));
    EXPECT_TRUE(press("missing", "Error").starts_with("NotFoundError: 404 "));
    EXPECT_EQ(press("next", "The next"), "The next title: " + clip("green.webm").string());
    EXPECT_EQ(seen("plays"), "The film plays from 0.0 s on");
    EXPECT_EQ(press("story", "plays"), "The film plays from 0.0 s on");
    EXPECT_EQ(seen("preloaded"), "The advertisement is preloaded, the film plays on");
}

TEST_F(ButtonsOfThePage, InterruptTheStory) {
    ASSERT_EQ(seen("plays"), "The film plays from 0.0 s on");
    EXPECT_EQ(press("stop", "Error"), "AbortError: the story is interrupted");
    EXPECT_EQ(seen("Stopped"), "Stopped");
}

TEST_F(ButtonsOfThePage, TakeThePlaceOfAStartThatIsUnderWay) {
    ASSERT_EQ(seen("plays"), "The film plays from 0.0 s on");
    EXPECT_EQ(m_engine->page().run("element('next').click(); element('next').click(); return seen('place')"),
              "AbortError: another title has taken its place");
    EXPECT_EQ(seen("plays"), "The film plays from 0.0 s on");
}

TEST_F(ButtonsOfThePage, LoadThePageAgain) {
    ASSERT_EQ(seen("plays"), "The film plays from 0.0 s on");
    m_engine->page().begin("element('reload').click(); await new Promise(() => {})");
    ASSERT_TRUE(m_engine->page().awaitReady());
    EXPECT_EQ(seen("Loaded"), "Loaded again: what the page played before has ended");
    EXPECT_EQ(seen("plays"), "The film plays from 0.0 s on");
}

/// Its scripts run in the new tab from then on.
TEST_F(ButtonsOfThePage, OpenAnotherTab) {
    ASSERT_EQ(seen("plays"), "The film plays from 0.0 s on");
    m_engine->page().begin("element('tab').click(); await new Promise(() => {})");
    ASSERT_TRUE(m_engine->page().awaitReady());
    EXPECT_EQ(seen("plays"), "The film plays from 0.0 s on");
}

TEST_F(ButtonsOfThePage, KnowWhereTheFilmWasWhenTheServiceEndsInABreak) {
    ASSERT_EQ(seen("plays"), "The film plays from 0.0 s on");
    EXPECT_TRUE(press("seek", "plays on").starts_with("The film plays on at 1"));
    EXPECT_EQ(press("advertise", "plays"), "The advertisement plays");
    endService();
    EXPECT_EQ(seen("gone"), "The media service is gone: the media service has died or hangs");
    EXPECT_TRUE(seen("plays").starts_with("The film plays from 1")) << "the break was at its beginning";
}

} // namespace
} // namespace velmora::web_test
