// Several proxies, and several applications, that share one service and one region of shared memory.
#include "system/other_application.h"
#include "system/scenario_application.h"

#include <set>
#include <utility>

using namespace velmora;
using namespace velmora::system_test;
namespace State = velmora::ZUVMediaProxyState;

namespace {

constexpr std::size_t kProxies = 3;
constexpr std::size_t kKindsOfNotification = 3;

class SeveralProxies : public ScenarioApplicationTest, public ::testing::WithParamInterface<Mode> {
protected:
    void SetUp() override {
        playWithoutScenario();
        for (std::size_t i = 0; i < kProxies; ++i)
            m_proxies.push_back(create(GetParam()));
    }

    std::string mainVideoOf(const Proxy& proxy) { return addMedium("main-of-" + proxy->id()); }
    std::string advertisementOf(const Proxy& proxy) { return addMedium("ad-of-" + proxy->id()); }

    std::vector<Proxy> m_proxies; ///< created one after another
};

TEST_P(SeveralProxies, StandForObjectsOfTheirOwn) {
    std::set<std::string> identifiers;
    for (const Proxy& proxy : m_proxies) {
        identifiers.insert(proxy->id());
        EXPECT_EQ(ZUVMediaProxyInterface::getObjectById(proxy->id()), proxy);
    }

    EXPECT_EQ(identifiers.size(), m_proxies.size());
    EXPECT_FALSE(identifiers.contains(""));
}

/// Which proxies were told what.
std::set<std::pair<std::string, std::string>> kindsToldOf(const std::vector<Notification>& all) {
    std::set<std::pair<std::string, std::string>> told;
    for (const Notification& notification : all)
        told.emplace(notification.proxyId, kindsOf({notification}).front());
    return told;
}

TEST_P(SeveralProxies, EachGetItsOwnNotifications) {
    for (const Proxy& proxy : m_proxies)
        proxy->start(mainVideoOf(proxy), 1);
    for (const Proxy& proxy : m_proxies)
        proxy->startAd(advertisementOf(proxy), 1);

    // The three kinds of each proxy.
    ASSERT_TRUE(NotificationRecord::await([](const std::vector<Notification>& all) {
        return kindsToldOf(all).size() == kKindsOfNotification * kProxies;
    }));
    for (const Notification& notification : NotificationRecord::all()) {
        const Proxy proxy = ZUVMediaProxyInterface::getObjectById(notification.proxyId);
        ASSERT_TRUE(proxy);
        if (notification.changed == "definitions")
            EXPECT_NE(notification.value.find(proxy->localURL()), std::string::npos) << notification.value;
        else if (notification.medium == Medium::MainVideo)
            EXPECT_TRUE(notification.value == proxy->localURL() && serves(notification.value, mainVideoOf(proxy)));
        else
            EXPECT_TRUE(notification.value == proxy->localAdURL() &&
                        serves(notification.value, advertisementOf(proxy)));
    }
}

TEST_P(SeveralProxies, StopAlone) {
    for (const Proxy& proxy : m_proxies)
        proxy->start(mainVideoOf(proxy), 1);
    ASSERT_TRUE(NotificationRecord::await(Medium::MainVideo, "definitions", kProxies));
    const std::string stopped = m_proxies[1]->localURL();

    m_proxies[1]->stop();

    EXPECT_TRUE(eventually([&] { return fetch(stopped).status == 404; }));
    EXPECT_EQ(m_proxies[1]->getState(), State::Idle);
    for (const Proxy& proxy : {m_proxies[0], m_proxies[2]}) {
        EXPECT_EQ(proxy->getState(), State::Started);
        EXPECT_TRUE(serves(proxy->localURL(), mainVideoOf(proxy)));
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, SeveralProxies, ::testing::Values(Mode::Asynchronous, Mode::Synchronous),
                         ::testing::PrintToStringParamName());

class SeveralApplications : public ScenarioApplicationTest {};

TEST_F(SeveralApplications, HearOfTheirOwnObjectsOnly) {
    playWithoutScenario();
    // Each joins the bus when the one before has its proxy, so that none hears of another's creation.
    const Proxy own = create(Mode::Asynchronous);
    OtherApplication second;
    const std::string idOfSecond = second.ask("create");
    OtherApplication third;
    const std::string idOfThird = third.ask("create-sync");
    ASSERT_EQ((std::set<std::string>{own->id(), idOfSecond, idOfThird}).size(), 3U);
    const std::string ownMedium = addMedium("own");
    const std::string mediumOfSecond = addMedium("second");
    const std::string mediumOfThird = addMedium("third");

    third.ask("start " + mediumOfThird);
    second.ask("startAd " + mediumOfSecond);
    own->start(ownMedium, 1);

    EXPECT_TRUE(serves(third.awaitNotification("main " + idOfThird + " url "), mediumOfThird));
    EXPECT_TRUE(serves(second.awaitNotification("ad " + idOfSecond + " url "), mediumOfSecond));
    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url);
    EXPECT_TRUE(serves(url->value, ownMedium));
    // The last event of all: every application has received those of the others before it.
    ASSERT_TRUE(NotificationRecord::await(Medium::MainVideo, "definitions"));
    EXPECT_EQ(kindsOf(NotificationRecord::all()),
              (std::vector<std::string>{"main video url", "main video definitions"}));
    for (const Notification& notification : NotificationRecord::all())
        EXPECT_EQ(notification.proxyId, own->id());
    EXPECT_TRUE(ClientLog::await("unable to find object for event: started, 200," + idOfSecond));
    EXPECT_TRUE(ClientLog::await("unable to find object for event: started, 200," + idOfThird));
    second.ask("state");
    EXPECT_EQ(second.notifications().size(), 1U);
    third.awaitNotification("main " + idOfThird + " definitions ");
    EXPECT_EQ(third.notifications().size(), 2U);
}

/// Two applications that ask for an object at the same time: the test's own waits for its answer, which does not come,
/// when it receives the answer to the other.
class SimultaneousCreators : public ScenarioApplicationTest {
protected:
    void SetUp() override {
        playRules(R"({"command": "create", "nth": 1, "steps": [{"do": "answer"}]},
                     {"command": "create", "steps": []})");
        manager(); // from now on the application receives events
        ClientLog::hold("New Created Object:", [] { EXPECT_TRUE(ClientLog::await("Create   RemoteObject.")); });
        m_identifier = m_other.ask("create");
        m_own = create(Mode::Asynchronous);
        ASSERT_NE(m_identifier, "");
        ASSERT_EQ(m_own->id(), m_identifier);
    }

    const std::string m_medium = addMedium("shared");
    OtherApplication m_other; ///< the object's creator
    std::string m_identifier;
    Proxy m_own;
};

TEST_F(SimultaneousCreators, ShareAnObjectAndItsNotifications) {
    m_own->start(m_medium, 1);

    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url);
    const std::string startedByAnother = std::to_string(State::Started) + " " + url->value;
    EXPECT_TRUE(eventually([&] { return m_other.ask("state") == startedByAnother; }));
    EXPECT_TRUE(m_other.notifications().empty()) << "who has not asked for it is not called";

    m_other.ask("start " + m_medium);

    const std::string another = m_other.awaitNotification("main " + m_identifier + " url ");
    EXPECT_NE(another, url->value);
    EXPECT_TRUE(eventually([&] { return m_own->localURL() == another; }));
}

TEST_F(SimultaneousCreators, StopEachOthersMedium) {
    m_other.ask("start " + m_medium);
    const std::string url = m_other.awaitNotification("main " + m_identifier + " url ");
    ASSERT_TRUE(serves(url, m_medium));

    m_own->stop();

    EXPECT_TRUE(eventually([&] { return fetch(url).status == 404; }));
    EXPECT_EQ(m_other.ask("state"), std::to_string(State::Started) + " " + url) << "the other does not know";
}

TEST_F(SimultaneousCreators, LoseTheObjectWhenItsCreatorEnds) {
    m_other.end();

    EXPECT_TRUE(eventually([&] {
        m_own->start(m_medium, 1);
        return ClientLog::count("ZUV Media Proxy stated : 404 ( No such object: ") > 0;
    }));
}

class OneRegion : public ScenarioApplicationTest {};

// The request begins to poll when the other's event has taken the place of its answer.
TEST_F(OneRegion, ASynchronousRequestTimesOutWhenAnothersEventReplacesItsAnswerAndHasItsEffectByTheBus) {
    playWithoutScenario();
    const Proxy own = create(Mode::Synchronous);
    OtherApplication other;
    const std::string idOfOther = other.ask("create");
    const std::string medium = addMedium("own");
    const std::string mediumOfOther = addMedium("other");
    ClientLog::hold(", name:started", [&] {
        EXPECT_TRUE(NotificationRecord::await(Medium::MainVideo, "url"));
        other.ask("startAd " + mediumOfOther);
        other.awaitNotification("ad " + idOfOther + " url ");
    });

    own->start(medium, 1);

    EXPECT_EQ(ClientLog::count("Task timeout: 250/250"), 1U);
    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url);
    EXPECT_NE(url->thread, std::this_thread::get_id());
    EXPECT_TRUE(serves(url->value, medium));
    EXPECT_EQ(own->getState(), State::Started);
    own->stop();
    EXPECT_EQ(fetch(url->value).status, 404) << "the next request is in time again";
    EXPECT_EQ(ClientLog::count("Task timeout: 250/250"), 1U);
}

} // namespace
