// What an application sees of every scenario that comes with the desktop platform, in both modes. A scenario makes the
// first start or the first creation fail in some way; afterwards the library works on, and the next start plays.
//
// docs/scenarios.md has the same in words; scripts/scenario-table writes it from the rows of this file.
#include "bus/topic_message.h"
#include "support/processes.h"
#include "support/text.h"
#include "system/scenario_application.h"
#include "system/scenario_document.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <set>

using namespace velmora;
using namespace velmora::system_test;
namespace State = velmora::ZUVMediaProxyState;

namespace {

using Clock = std::chrono::steady_clock;
using Kinds = std::vector<std::string>;

constexpr const char* kUrl = "main video url";
constexpr const char* kDefinitions = "main video definitions";
constexpr const char* kTimeout = "Task timeout: 250/250";
constexpr const char* kStarted = "ZUV Media Proxy stated : 200 ( OK) ";

/// Has a synchronous start poll only when `condition` holds, so that it does not find, by chance, an event that was in
/// shared memory for a moment only.
void pollOnlyWhen(const std::function<bool()>& condition) {
    ClientLog::hold(", name:started", [condition] { EXPECT_TRUE(condition()); });
}

/// An application with one proxy, whose service plays a scenario.
class Application : public ScenarioApplicationTest {
public:
    /// Begins in asynchronous mode, or in synchronous mode for good.
    void begin(const std::string& scenario, Mode mode) {
        play(std::string(ZUV_SCENARIOS "/") + scenario + ".json");
        m_mode = mode;
        m_proxy = create(mode);
        ASSERT_FALSE(m_proxy->id().empty());
    }

    // ---- What the application does

    void start() { m_proxy->start(m_medium, 1); }

    /// Replaces the proxy whose service is gone by a new one.
    void createAnother() {
        const std::string before = m_proxy->id();
        m_proxy = create(m_mode);
        EXPECT_NE(m_proxy->id(), "");
        EXPECT_NE(m_proxy->id(), before);
    }

    // ---- What it sees

    /// The notifications of the start, all of them, and in this order; definitions come last, and after them nothing.
    void expectNotifications(const Kinds& expected) {
        EXPECT_TRUE(NotificationRecord::await(Medium::MainVideo, "definitions",
                                              static_cast<std::size_t>(std::ranges::count(expected, kDefinitions))));
        const std::vector<Notification> all = NotificationRecord::all();
        EXPECT_EQ(kindsOf(all), expected);
        for (const Notification& notification : all)
            EXPECT_EQ(notification.proxyId, m_proxy->id());
    }

    /// The start has brought its URL.
    void expectPlays() {
        const auto url = NotificationRecord::await(Medium::MainVideo, "url");
        ASSERT_TRUE(url);
        EXPECT_TRUE(eventually([&] { return m_proxy->getState() == State::Started; }));
        EXPECT_EQ(m_proxy->localURL(), url->value);
        EXPECT_TRUE(serves(url->value, m_medium));
    }

    /// The start has brought nothing.
    void expectDoesNotPlay() {
        EXPECT_EQ(m_proxy->getState(), State::Starting);
        EXPECT_EQ(m_proxy->localURL(), "");
    }

    /// How many requests have given up waiting for their answer.
    static void expectTimeouts(std::size_t count) { EXPECT_EQ(ClientLog::count(kTimeout), count); }

    /// The library works on: the proxy plays another medium as if nothing had happened.
    void expectPlaysOn() {
        const std::string medium = addMedium("second");
        const std::size_t urls = static_cast<std::size_t>(std::ranges::count(kindsOf(NotificationRecord::all()), kUrl));
        const std::size_t timeouts = ClientLog::count(kTimeout);

        m_proxy->stop();
        EXPECT_EQ(m_proxy->getState(), State::Idle);
        EXPECT_EQ(m_proxy->localURL(), "");
        m_proxy->start(medium, 1);

        EXPECT_TRUE(m_mode == Mode::Asynchronous || m_proxy->getState() == State::Started);
        const auto url = NotificationRecord::await(Medium::MainVideo, "url", urls + 1);
        ASSERT_TRUE(url);
        EXPECT_EQ(url->proxyId, m_proxy->id());
        EXPECT_TRUE(serves(url->value, medium));
        expectTimeouts(timeouts);
    }

    // ---- What happens to the first start in most scenarios

    void plays() {
        start();
        expectNotifications({kUrl, kDefinitions});
        expectPlays();
    }

    void bringsNothing() {
        start();
        expectNotifications({kDefinitions}); // the medium plays nevertheless, and its qualities are announced
        expectDoesNotPlay();
    }

    void playsAtOnce() {
        start();
        EXPECT_EQ(m_proxy->getState(), State::Started) << "when the call returns";
        expectNotifications({kUrl, kDefinitions});
        expectPlays();
        expectTimeouts(0);
    }

    void timesOutAndPlays() {
        plays();
        expectTimeouts(1);
    }

    void returnsAtOnceWithNothing() {
        bringsNothing();
        expectTimeouts(0);
    }

    void timesOutWithNothing() {
        bringsNothing();
        expectTimeouts(1);
    }

    // ---- In one scenario each

    void playsOnItsOwnThread() {
        playsAtOnce();
        EXPECT_EQ(NotificationRecord::all().at(0).thread, std::this_thread::get_id());
    }

    void playsOnceThoughToldTwice() {
        plays();
        EXPECT_EQ(ClientLog::count(kStarted), 2U);
    }

    // The third is the answer in shared memory.
    void playsAtOnceAndOnceThoughToldTwice() {
        playsAtOnce();
        EXPECT_EQ(ClientLog::count(kStarted), 3U);
    }

    void playsLate() {
        const auto begin = Clock::now();
        start();
        EXPECT_TRUE(NotificationRecord::await(Medium::MainVideo, "url"));
        EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(300));
        expectNotifications({kUrl, kDefinitions});
        expectPlays();
    }

    // On a machine so busy that five sleeps of 50 ms take 300, the answer may be in time.
    void givesUpBeforeItPlays() {
        const auto begin = Clock::now();
        start();
        const bool isEarly = Clock::now() - begin < std::chrono::milliseconds(300);
        EXPECT_TRUE(!isEarly || m_proxy->getState() == State::Starting);
        EXPECT_TRUE(!isEarly || ClientLog::count(kTimeout) == 1);
        expectNotifications({kUrl, kDefinitions});
        expectPlays();
    }

    void playsAfterTheSeekIsDone() {
        start();
        m_proxy->seek(1.0, "");
        expectNotifications({kUrl, kDefinitions});
        expectPlays();
        expectLinesInOrder("Seek Done. " + m_proxy->id(), kStarted);
    }

    void timesOutAndPlaysAfterTheSeekIsDone() {
        playsAfterTheSeekIsDone();
        EXPECT_GE(ClientLog::count(kTimeout), 1U);
    }

    void hearsOfThreeDefinitions() {
        start();
        expectNotifications({kDefinitions, kUrl, kDefinitions, kDefinitions});
        const std::vector<Notification> notifications = NotificationRecord::all();
        EXPECT_NE(notifications.at(0).value.find("1080p"), std::string::npos) << notifications.at(0).value;
        EXPECT_NE(notifications.at(2).value.find("720p"), std::string::npos) << notifications.at(2).value;
        EXPECT_NE(notifications.at(3).value.find("240p"), std::string::npos) << notifications.at(3).value;
        expectPlays();
    }

    void timesOutAndHearsOfThreeDefinitions() {
        pollOnlyWhen([] { return NotificationRecord::await(Medium::MainVideo, "definitions", 2).has_value(); });
        hearsOfThreeDefinitions();
        expectTimeouts(1);
    }

    void playsThroughTheStorm() {
        plays();
        EXPECT_TRUE(ClientLog::await("zuv service alive:  - " + m_proxy->id(), 1000));
    }

    void timesOutAndPlaysThroughTheStorm() {
        pollOnlyWhen([] { return ClientLog::await("zuv service alive:", 1000); });
        playsThroughTheStorm();
        expectTimeouts(1);
    }

    void throwsAndPlays() {
        EXPECT_THROW(start(), std::exception);
        expectNotifications({kUrl, kDefinitions});
        expectPlays();
        expectTimeouts(0);
    }

    // The mapping stays, and the service still writes to it.
    void playsAtOnceAndCreatesInTwoSeconds() {
        playsAtOnce();
        const auto begin = Clock::now();
        createAnother();
        EXPECT_GE(Clock::now() - begin, std::chrono::seconds(2));
        EXPECT_TRUE(wasLogged("service not work,  restart zuv service."));
    }

    void timesOutUntilItCreatesAnother() {
        timesOutAndPlays();
        m_proxy->stop();
        expectTimeouts(2);
        EXPECT_TRUE(eventually([this] { return m_proxy->getState() == State::Idle; }));
        createAnother();
        expectTimeouts(2);
    }

    void loses(const std::function<void()>& awaitLoss, const Kinds& notifications, std::size_t timeouts) {
        const Proxy lost = m_proxy;
        start();
        awaitLoss();
        EXPECT_EQ(kindsOf(NotificationRecord::all()), notifications);
        expectTimeouts(timeouts);

        createAnother();

        EXPECT_TRUE(wasLogged("restart zuv service."));
        lost->start(m_medium, 1);
        EXPECT_TRUE(ClientLog::await("ZUV Media Proxy stated : 404 ( No such object: "));
        EXPECT_EQ(lost->getState(), State::Starting);
    }

    void losesTheServiceWithoutAnAnswer(std::size_t timeouts) {
        loses(
            [this] {
                awaitNoService();
                expectDoesNotPlay();
            },
            {}, timeouts);
    }
    void losesTheService() { losesTheServiceWithoutAnAnswer(0); }
    void timesOutAndLosesTheService() { losesTheServiceWithoutAnAnswer(1); }

    void losesTheServiceThatPlayed() {
        loses(
            [this] {
                awaitNoService();
                ASSERT_TRUE(NotificationRecord::await(Medium::MainVideo, "url"));
                EXPECT_TRUE(eventually([this] { return m_proxy->getState() == State::Started; }));
                EXPECT_EQ(fetch(m_proxy->localURL()).status, 0) << "nobody serves it any more";
            },
            {kUrl}, 0);
    }

    void losesTheFrozenServiceWithoutAnAnswer(std::size_t timeouts) {
        loses(
            [this] {
                awaitFrozenService();
                expectDoesNotPlay();
            },
            {}, timeouts);
    }
    void losesTheFrozenService() { losesTheFrozenServiceWithoutAnAnswer(0); }
    void timesOutAndLosesTheFrozenService() { losesTheFrozenServiceWithoutAnAnswer(1); }

    void losesTheFrozenServiceThatPlayed() {
        loses(
            [this] {
                awaitFrozenService();
                ASSERT_TRUE(NotificationRecord::await(Medium::MainVideo, "url"));
                EXPECT_TRUE(eventually([this] { return m_proxy->getState() == State::Started; }));
                EXPECT_TRUE(hangs(m_proxy->localURL()));
            },
            {kUrl}, 0);
    }

    // ---- Help

    static bool wasLogged(const std::string& text) { return ClientLog::count(text) > 0; }

    static void expectLinesInOrder(const std::string& first, const std::string& second) {
        const std::vector<std::string> lines = ClientLog::lines();
        const auto find = [&](const std::string& text) {
            return std::ranges::find_if(lines, [&](const auto& line) { return line.find(text) != std::string::npos; });
        };
        EXPECT_NE(find(second), lines.end()) << second;
        EXPECT_LT(find(first), find(second)) << first;
    }

    void awaitNoService() {
        EXPECT_TRUE(eventually([this] { return !m_peer.isOwned(desktop::kServiceName); }));
    }

    pid_t awaitFrozenService() {
        const pid_t service = m_peer.processOf(desktop::kServiceName);
        EXPECT_TRUE(eventually([service] { return isStopped(service); }));
        return service;
    }

    const std::string m_medium = addMedium("first");
    Mode m_mode = Mode::Asynchronous;
    Proxy m_proxy;
};

/// What an application sees in one mode of a scenario: the check, and the same in words for docs/scenarios.md.
struct Outcome {
    void (Application::*check)();
    const char* text;
};

constexpr Outcome kPlays{&Application::plays, "plays"};
constexpr Outcome kPlaysOnce{&Application::playsOnceThoughToldTwice, "plays, with one callback"};
constexpr Outcome kPlaysLate{&Application::playsLate, "plays, 300 ms late"};
constexpr Outcome kPlaysInTime{&Application::playsAtOnce, "plays in time"};
constexpr Outcome kPlaysInTimeOnce{&Application::playsAtOnceAndOnceThoughToldTwice, "plays in time, with one callback"};
constexpr Outcome kPlaysOnItsOwnThread{&Application::playsOnItsOwnThread, "plays in time, on the calling thread"};
constexpr Outcome kTimesOutAndPlays{&Application::timesOutAndPlays, "times out; plays"};
constexpr Outcome kTimesOutAndPlaysLate{&Application::givesUpBeforeItPlays, "times out; plays afterwards"};
constexpr Outcome kThrowsAndPlays{&Application::throwsAndPlays,
                                  "the call throws the JSON reader's exception (`Json::Exception`); plays"};
constexpr Outcome kNothing{&Application::bringsNothing, "nothing"};
constexpr Outcome kNothingInTime{&Application::returnsAtOnceWithNothing, "nothing, without a time-out"};
constexpr Outcome kTimesOut{&Application::timesOutWithNothing, "times out; nothing"};

constexpr Outcome kPlaysAfterTheSeek{&Application::playsAfterTheSeekIsDone,
                                     "the next command takes effect first; plays"};
constexpr Outcome kTimesOutAndPlaysAfterTheSeek{&Application::timesOutAndPlaysAfterTheSeekIsDone,
                                                "times out; the next command takes effect first; plays"};
constexpr Outcome kThreeDefinitions{&Application::hearsOfThreeDefinitions,
                                    "plays; callback \"definitions\" before \"url\", and twice after it"};
constexpr Outcome kTimesOutWithThreeDefinitions{&Application::timesOutAndHearsOfThreeDefinitions,
                                                "times out; the same callbacks"};
constexpr Outcome kPlaysThroughTheStorm{&Application::playsThroughTheStorm, "plays"};
constexpr Outcome kTimesOutAndPlaysThroughTheStorm{&Application::timesOutAndPlaysThroughTheStorm, "times out; plays"};
constexpr Outcome kTimesOutUntilTheNextCreation{
    &Application::timesOutUntilItCreatesAnother,
    "every request times out and takes effect all the same, until the next creation"};
constexpr Outcome kPlaysInTimeButCreatesLate{&Application::playsAtOnceAndCreatesInTwoSeconds,
                                             "plays in time; the next creation takes 2 s longer"};

constexpr Outcome kLosesTheService{&Application::losesTheService, "nothing, and no definitions; then a new service"};
constexpr Outcome kTimesOutAndLosesTheService{&Application::timesOutAndLosesTheService,
                                              "times out; no definitions; then a new service"};
constexpr Outcome kPlaysAndLosesTheService{
    &Application::losesTheServiceThatPlayed,
    "plays, but nothing serves the local URL; no definitions; then a new service"};
constexpr Outcome kLosesTheFrozenService{&Application::losesTheFrozenService,
                                         "nothing, and no definitions; then a new service"};
constexpr Outcome kTimesOutAndLosesTheFrozenService{&Application::timesOutAndLosesTheFrozenService,
                                                    "times out; no definitions; then a new service"};
constexpr Outcome kPlaysAndLosesTheFrozenService{
    &Application::losesTheFrozenServiceThatPlayed,
    "plays, but the local URL does not respond; no definitions; then a new service"};

/// What an application sees of one scenario.
struct Row {
    const char* scenario;
    Outcome asynchronous;
    Outcome synchronous;
    const char* line = ""; ///< part of a line in the log, or ""
    bool lineInBothModes = true;
    const char* remarks = ""; ///< for the document: what other tests of this file show, or ""
};
constexpr bool kBothModes = true;
constexpr bool kSynchronousOnly = false;

const std::vector<Row> kRows = {
    {"answer-by-both-channels", kPlays, kPlaysInTime, kStarted},
    {"answer-by-bus-only", kPlays, kTimesOutAndPlays, kStarted},
    {"answer-by-memory-only", kNothing, kPlaysOnItsOwnThread, kStarted, kSynchronousOnly},
    {"answer-delayed", kPlaysLate, kTimesOutAndPlaysLate, kStarted},
    {"answer-empty", kNothing, kTimesOut, "unable to find object for event: , ,"},
    {"answer-missing", kNothing, kTimesOut},
    {"answer-other-object", kNothing, kNothingInTime, "unable to find object for event: started, 200,obj-other"},
    {"answer-other-session", kPlays, kTimesOutAndPlays, kStarted, kBothModes,
     "for an event from the bus, the library ignores the session"},
    {"answer-too-short", kNothing, kNothingInTime, "unable to find object for event: started, 200,"},
    {"answer-twice", kPlaysOnce, kPlaysInTimeOnce},
    {"answer-wrong-code", kNothing, kNothingInTime, "ZUV Media Proxy stated : 500 ( The scenario says so) "},
    {"answers-out-of-order", kPlaysAfterTheSeek, kTimesOutAndPlaysAfterTheSeek, "", kBothModes,
     "after a stop there is no callback; the state becomes Started, and the local URL is not served"},
    {"events-definitions", kThreeDefinitions, kTimesOutWithThreeDefinitions, "", kBothModes,
     "times out only if the event after the answer has replaced it in shared memory"},
    {"events-started-again", kPlaysOnce, kPlaysInTimeOnce, "", kBothModes,
     "an advertisement has one callback for each event"},
    {"events-status-storm", kPlaysThroughTheStorm, kTimesOutAndPlaysThroughTheStorm, "", kBothModes,
     "times out only if an event has replaced the answer in shared memory; a proxy that is created during the storm "
     "may "
     "get the identifier of the previous one, and no callbacks"},
    {"memory-deep-nesting", kPlays, kTimesOutAndPlays, "Fail to parse json string:[[[[", kSynchronousOnly},
    {"memory-nested-member", kPlays, kThrowsAndPlays},
    {"memory-no-zero-byte", kPlays, kPlaysInTime, R"("9":"main_video"}      )", kSynchronousOnly},
    {"memory-not-json", kPlays, kTimesOutAndPlays, "Fail to parse json string:this is no JSON.", kSynchronousOnly},
    // The line ends where the text is cut.
    {"memory-oversize", kPlays, kTimesOutAndPlays, "xxxxxxxx.", kSynchronousOnly,
     "the line begins with `Fail to parse json string` and ends where the text is cut off"},
    {"memory-recreated", kPlays, kTimesOutUntilTheNextCreation},
    {"memory-removed", kPlays, kPlaysInTimeButCreatesLate, "", kBothModes,
     "an application that starts later times out at each request, and plays"},
    {"memory-root-array", kPlays, kTimesOutAndPlays, R"(Fail to parse json string:["started",)", kSynchronousOnly},
    {"memory-torn", kPlays, kTimesOutAndPlays, R"(Fail to parse json string:{"0":)", kSynchronousOnly},
    {"service-aborts", kLosesTheService, kTimesOutAndLosesTheService},
    {"service-exits", kLosesTheService, kTimesOutAndLosesTheService},
    {"service-exits-after-answer", kPlaysAndLosesTheService, kPlaysAndLosesTheService},
    {"service-freezes", kLosesTheFrozenService, kTimesOutAndLosesTheFrozenService, "", kBothModes,
     "plays if somebody continues the service (SIGCONT)"},
    {"service-freezes-after-answer", kPlaysAndLosesTheFrozenService, kPlaysAndLosesTheFrozenService},
};

struct Case {
    Row row;
    Mode mode;
};

void PrintTo(const Case& tested, std::ostream* stream) {
    *stream << tested.row.scenario;
}

std::vector<Case> casesOf(Mode mode) {
    std::vector<Case> cases;
    cases.reserve(kRows.size());
    for (const Row& row : kRows)
        cases.push_back({row, mode});
    return cases;
}

class Scenario : public Application, public ::testing::WithParamInterface<Case> {};

TEST_P(Scenario, ShowsAsItIsSaidAndLeavesTheLibraryWorking) {
    const auto& [row, mode] = GetParam();
    begin(row.scenario, mode);

    (this->*(mode == Mode::Synchronous ? row.synchronous : row.asynchronous).check)();

    if (*row.line != '\0') {
        EXPECT_EQ(wasLogged(row.line), mode == Mode::Synchronous || row.lineInBothModes) << row.line;
    }
    expectPlaysOn();
}

constexpr auto testName = [](const auto& tested) { return camelCase(tested.param.row.scenario); };

INSTANTIATE_TEST_SUITE_P(Asynchronous, Scenario, ::testing::ValuesIn(casesOf(Mode::Asynchronous)), testName);
INSTANTIATE_TEST_SUITE_P(Synchronous, Scenario, ::testing::ValuesIn(casesOf(Mode::Synchronous)), testName);

std::set<std::string> scenarioFiles() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(ZUV_SCENARIOS))
        names.insert(entry.path().stem());
    return names;
}

TEST(Scenarios, AreAllTested) {
    std::set<std::string> tested;
    for (const Row& row : kRows)
        tested.insert(row.scenario);

    EXPECT_EQ(tested, scenarioFiles());
}

std::vector<ScenarioRow> rowsInWords() {
    std::vector<ScenarioRow> rows;
    rows.reserve(kRows.size());
    for (const Row& row : kRows)
        rows.push_back(
            {row.scenario, row.asynchronous.text, row.synchronous.text, row.line, row.lineInBothModes, row.remarks});
    return rows;
}

TEST(Scenarios, AreDocumentedAsTested) {
    const std::string expected = scenarioDocumentWith(rowsInWords());
    if (std::getenv("ZUV_WRITE_DOCUMENTS") != nullptr)
        writeScenarioDocument(expected);

    EXPECT_EQ(currentScenarioDocument(), expected) << "run scripts/scenario-table";
}

// ---- Beyond the first start

TEST_F(Application, SeesALateAnswerAfterAStopAsStartedWithoutACallback) {
    begin("answers-out-of-order", Mode::Asynchronous);

    start();
    m_proxy->stop();

    EXPECT_TRUE(eventually([&] { return m_proxy->getState() == State::Started; }));
    EXPECT_NE(m_proxy->localURL(), "");
    EXPECT_EQ(fetch(m_proxy->localURL()).status, 404) << "the service has stopped it";
    EXPECT_TRUE(NotificationRecord::all().empty());
}

TEST_F(Application, IsToldAgainOfAnAdvertisementThatHasStartedAgain) {
    begin("events-started-again", Mode::Asynchronous);

    m_proxy->startAd(m_medium, 1);

    const auto again = NotificationRecord::await(Medium::Advertisement, "url", 2);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->value, m_proxy->localAdURL());
}

// The creation takes the newest identifier that it knows of when an event of the service wakes it.
TEST_F(Application, ThatCreatesWhileEventsComeUnaskedGetsTheIdentifierOfItsLastProxy) {
    begin("events-status-storm", Mode::Asynchronous);
    constexpr const char* kCreation = "Create   RemoteObject.";
    ClientLog::hold("zuv service alive:", [] { EXPECT_TRUE(ClientLog::await(kCreation, 2)); });
    start();
    ASSERT_TRUE(
        NotificationRecord::await(Medium::MainVideo, "url")); // the answer to the creation comes behind the storm

    const Proxy second = create(Mode::Asynchronous);

    EXPECT_EQ(second->id(), m_proxy->id());
    EXPECT_EQ(ZUVMediaProxyInterface::getObjectById(second->id()), m_proxy) << "the first one is still notified";
}

TEST_F(Application, LosesTheNextServiceTooWhereTheScenarioIsForEveryOne) {
    playRules(R"({"command": "start", "nth": 1, "steps": [{"do": "exit"}]})");
    m_proxy = create(m_mode);
    for (int service = 1; service <= 2; ++service) {
        start();
        awaitNoService();
        createAnother();
    }
}

// A synchronous request waits for shared memory alone; the events still come by the bus.
TEST_F(Application, ThatTurnsToSynchronousModeWithoutSharedMemoryTimesOutEachTimeAndPlays) {
    begin("memory-removed", Mode::Asynchronous);
    ASSERT_TRUE(eventually([] { return !std::filesystem::exists("/dev/shm/ZUV_PROXY"); }));

    const Proxy second = create(Mode::Synchronous);

    expectTimeouts(3);
    ASSERT_NE(second->id(), "");
    second->start(m_medium, 1);
    expectTimeouts(4);
    EXPECT_TRUE(wasLogged("memory NULL."));
    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url);
    EXPECT_EQ(url->proxyId, second->id());
}

class FrozenService : public Application, public ::testing::WithParamInterface<Mode> {};

TEST_P(FrozenService, AnswersWhenItIsContinued) {
    begin("service-freezes", GetParam());
    start();
    expectDoesNotPlay();

    ASSERT_TRUE(sendSignal(awaitFrozenService(), SIGCONT));

    expectNotifications({kUrl, kDefinitions});
    expectPlays();
    expectPlaysOn();
}

INSTANTIATE_TEST_SUITE_P(Modes, FrozenService, ::testing::Values(Mode::Asynchronous, Mode::Synchronous),
                         ::testing::PrintToStringParamName());

} // namespace
