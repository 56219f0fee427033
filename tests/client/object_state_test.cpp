// A proxy object's construction and accessors, both tables of its states, and its handlers.
#include "client/client_test.h"

#include <array>
#include <cstddef>
#include <new>
#include <system_error>
#include <tuple>

namespace velmora::test {
namespace {

// Construction

class ObjectConstruction : public PlatformTest {};

TEST_F(ObjectConstruction, LogsAndThenMakesTheManagerIfThereIsNone) {
    const auto object = ZUVMediaProxyObject::create("movie");

    EXPECT_EQ(object->m_manager, ZUVMediaProxyManager::getInstance());
    EXPECT_JOURNAL(objectMade("movie"),
                   managerLog(4000, "ZUVMediaProxyManager", "enter, %p\n",
                              static_cast<void*>(ZUVMediaProxyManager::getInstance())),
                   busLine("connection made"), busLine("initialize"), busLine("start"));
}

TEST_F(ObjectConstruction, HoldsTheObjectsLock) {
    alignas(ZUVMediaProxyObject) std::byte memory[sizeof(ZUVMediaProxyObject)] = {};
    auto* object = reinterpret_cast<ZUVMediaProxyObject*>(memory);
    std::vector<bool> held;
    recordingLog().onLine = [&](const std::string&) { held.push_back(isHeld(object->m_mutex)); };
    bus().onConnectionMade = [&] { held.push_back(isHeld(object->m_mutex)); };

    new (memory) ZUVMediaProxyObject("movie");

    EXPECT_EQ(held, (std::vector<bool>{true, true, true}));
    EXPECT_FALSE(isHeld(object->m_mutex));
    object->~ZUVMediaProxyObject();
}

TEST_F(ObjectConstruction, SetsEveryField) {
    alignas(ZUVMediaProxyObject) std::byte memory[sizeof(ZUVMediaProxyObject)];
    std::fill(std::begin(memory), std::end(memory), std::byte(0xAA));

    auto* object = new (memory) ZUVMediaProxyObject("movie");

    EXPECT_EQ(object->m_state, State::Idle);
    EXPECT_EQ(object->m_adState, State::Idle);
    EXPECT_EQ(object->m_seekPosition, 0.0);
    EXPECT_EQ(object->m_id, "movie");
    EXPECT_EQ(object->m_localURL, "");
    EXPECT_EQ(object->m_localAdURL, "");
    EXPECT_EQ(object->m_reserved, "");
    EXPECT_EQ(object->m_definitions, "");
    EXPECT_EQ(object->m_manager, ZUVMediaProxyManager::getInstance());
    object->~ZUVMediaProxyObject();
}

TEST_F(ObjectConstruction, KeepsObjectAndOwnershipInTwoAllocations) {
    countNew(sizeof(ZUVMediaProxyObject));

    const auto object = ZUVMediaProxyObject::create("movie");

    EXPECT_EQ(newCalls(), 1);
    EXPECT_EQ(object.use_count(), 1);
}

TEST_F(ObjectConstruction, FailsWithTheManagersAndIsTriedAgain) {
    bus().onConnectionMade = [] { throw std::bad_alloc(); };
    EXPECT_THROW(ZUVMediaProxyObject::create("movie"), std::bad_alloc);
    bus().onConnectionMade = [] {};

    EXPECT_EQ(ZUVMediaProxyObject::create("movie")->id(), "movie");
}

// Accessors

class ObjectAccessors : public ObjectTest {};

TEST_F(ObjectAccessors, OfAFreshObjectAreIdleAndEmpty) {
    EXPECT_EQ(object->id(), "movie");
    EXPECT_EQ(object->getState(), State::Idle);
    EXPECT_EQ(object->getAdState(), State::Idle);
    EXPECT_EQ(object->localURL(), "");
    EXPECT_EQ(object->localAdURL(), "");
    EXPECT_JOURNAL();
}

TEST_F(ObjectAccessors, ReadTheirFields) {
    object->m_state = State::Started;
    object->m_adState = State::Starting;
    object->m_localURL = "main";
    object->m_localAdURL = "ad";

    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(object->getAdState(), State::Starting);
    EXPECT_EQ(object->localURL(), "main");
    EXPECT_EQ(object->localAdURL(), "ad");
}

struct Access {
    const char* name;
    std::function<void(ZUVMediaProxyObject&)> call;
};

class ObjectAccess : public ObjectTest, public ::testing::WithParamInterface<Access> {};

TEST_P(ObjectAccess, TakesTheLockOnce) {
    watch(object->m_mutex, "object");

    GetParam().call(*object);

    EXPECT_JOURNAL(locked("object"), unlocked("object"));
}

TEST_P(ObjectAccess, LetsALockFailureOut) {
    failNext(Call::Lock);

    EXPECT_THROW(GetParam().call(*object), std::system_error);
}

// Both "stopped" handlers do nothing but take the lock.
INSTANTIATE_TEST_SUITE_P(Operations, ObjectAccess,
                         ::testing::Values(Access{"Id", [](auto& object) { object.id(); }},
                                           Access{"LocalUrl", [](auto& object) { object.localURL(); }},
                                           Access{"LocalAdUrl", [](auto& object) { object.localAdURL(); }},
                                           Access{"State", [](auto& object) { object.getState(); }},
                                           Access{"AdState", [](auto& object) { object.getAdState(); }},
                                           Access{"OnMediaStopped", [](auto& object) { object.onMediaStopped(); }},
                                           Access{"OnAdMediaStopped", [](auto& object) { object.onAdMediaStopped(); }}),
                         caseName);

// The tables of states

Strings event(const char* name, const char* code, const char* kind) {
    return {name, code, "session", "movie", "", "", "new url", "new definitions", "detail", kind};
}

std::function<void(ZUVMediaProxyObject&)> onEvent(const char* name, const char* code, const char* kind) {
    return [=](ZUVMediaProxyObject& object) {
        Strings parameters = event(name, code, kind);
        object.onZUVEvent(parameters);
    };
}

constexpr const char* kMain = "main_video";
constexpr const char* kAd = "advertisement";

int keep(int state) {
    return state;
}
int toIdle(int) {
    return State::Idle;
}
int toStarting(int) {
    return State::Starting;
}
int toStarted(int) {
    return State::Started;
}

constexpr auto kNever = [](int, int) { return false; };
constexpr auto kWhileMainStarting = [](int state, int) { return state == State::Starting; };
constexpr auto kWhileAdStarting = [](int, int adState) { return adState == State::Starting; };
constexpr auto kWhileMainNotIdle = [](int state, int) { return state != State::Idle; };

struct Transition {
    const char* name;
    std::function<void(ZUVMediaProxyObject&)> trigger;
    int (*state)(int) = keep;
    int (*adState)(int) = keep;
    const char* localURL = "old url";
    const char* localAdURL = "old ad url";
    const char* definitions = "old definitions";
    /// Which callback comes, and in which states it does.
    std::string call = "";
    bool (*calls)(int state, int adState) = kNever;
};

const std::string kUrlCall = calledBack("main", "movie", "url", "new url");
const std::string kAdUrlCall = calledBack("ad", "movie", "url", "new url");
const std::string kDefinitionsCall = calledBack("main", "movie", "definitions", "new definitions");

const Transition transitions[] = {
    // The application's calls.
    {.name = "Start", .trigger = [](auto& object) { object.start("url", 1); }, .state = toStarting},
    {.name = "Stop", .trigger = [](auto& object) { object.stop(); }, .state = toIdle, .localURL = ""},
    {.name = "Preload", .trigger = [](auto& object) { object.preload(1.0, "", "", ""); }, .localURL = ""},
    {.name = "Pause", .trigger = [](auto& object) { object.pause(); }},
    {.name = "Seek", .trigger = [](auto& object) { object.seek(1.0, ""); }},
    {.name = "StartAd", .trigger = [](auto& object) { object.startAd("url", 1); }, .adState = toStarting},
    {.name = "StopAd", .trigger = [](auto& object) { object.stopAd(); }, .adState = toIdle, .localAdURL = ""},
    {.name = "PreloadAd", .trigger = [](auto& object) { object.preloadAd("", ""); }, .localAdURL = ""},
    // The service's answers.
    {.name = "Started",
     .trigger = onEvent("started", "200", kMain),
     .state = toStarted,
     .localURL = "new url",
     .call = kUrlCall,
     .calls = kWhileMainStarting},
    {.name = "AdStarted",
     .trigger = onEvent("started", "200", kAd),
     .state = toStarted,
     .localAdURL = "new url",
     .call = kAdUrlCall,
     .calls = kWhileAdStarting},
    {.name = "StartFailed", .trigger = onEvent("started", "500", kMain)},
    {.name = "AdStartFailed", .trigger = onEvent("started", "500", kAd)},
    {.name = "Stopped", .trigger = onEvent("stopped", "200", kMain)},
    {.name = "AdStopped", .trigger = onEvent("stopped", "200", kAd)},
    {.name = "StopFailed", .trigger = onEvent("stopped", "500", kMain)},
    {.name = "AdStopFailed", .trigger = onEvent("stopped", "500", kAd)},
    {.name = "Seeked", .trigger = onEvent("seeked", "200", kMain)},
    {.name = "AdSeeked", .trigger = onEvent("seeked", "200", kAd)},
    {.name = "SeekFailed", .trigger = onEvent("seeked", "500", kMain)},
    {.name = "Definition",
     .trigger = onEvent("definition", "200", kMain),
     .definitions = "new definitions",
     .call = kDefinitionsCall,
     .calls = kWhileMainNotIdle},
    {.name = "FailedDefinitionOfAnAd",
     .trigger = onEvent("definition", "500", kAd),
     .definitions = "new definitions",
     .call = kDefinitionsCall,
     .calls = kWhileMainNotIdle},
};

class StateTable : public ObjectTest, public ::testing::WithParamInterface<std::tuple<Transition, int, int>> {};

TEST_P(StateTable, Row) {
    const auto& [transition, state, adState] = GetParam();
    object->m_state = state;
    object->m_adState = adState;
    object->m_localURL = "old url";
    object->m_localAdURL = "old ad url";
    object->m_definitions = "old definitions";

    transition.trigger(*object);

    EXPECT_EQ(object->getState(), transition.state(state));
    EXPECT_EQ(object->getAdState(), transition.adState(adState));
    EXPECT_EQ(object->localURL(), transition.localURL);
    EXPECT_EQ(object->localAdURL(), transition.localAdURL);
    EXPECT_EQ(object->m_definitions, transition.definitions);
    EXPECT_EQ(object->m_reserved, "");
    const Strings expectedCalls = transition.calls(state, adState) ? Strings{transition.call} : Strings{};
    EXPECT_EQ(journal().linesOf("callback"), expectedCalls);
}

constexpr auto rowName = [](const auto& testCase) {
    const auto& [transition, state, adState] = testCase.param;
    return std::string(transition.name) + "FromState" + std::to_string(state) + "AdState" + std::to_string(adState);
};

INSTANTIATE_TEST_SUITE_P(States, StateTable,
                         ::testing::Combine(::testing::ValuesIn(transitions),
                                            ::testing::Values(State::Idle, State::Starting, State::Started),
                                            ::testing::Values(State::Idle, State::Starting)),
                         rowName);

TEST_F(ObjectTest, SecondStartedEventStoresItsUrlWithoutACallback) {
    object->m_state = State::Starting;
    object->onMediaStarted("first");
    journal().clear();

    object->onMediaStarted("second");

    EXPECT_EQ(object->localURL(), "second");
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_TRUE(journal().linesOf("callback").empty());
}

TEST_F(ObjectTest, SecondStartedEventOfAnAdCallsBackAgain) {
    object->m_adState = State::Starting;

    object->onAdMediaStarted("url");
    object->onAdMediaStarted("url");

    EXPECT_EQ(journal().count(calledBack("ad", "movie", "url", "url")), 2u);
}

// The handlers' lines, under the lock.

struct Handler {
    const char* name;
    std::function<void(ZUVMediaProxyObject&)> call;
    std::vector<std::string> lines;
    int state = State::Idle;
    int adState = State::Idle;
};

std::string notifying(const char* handler) {
    return objectLog(4000, handler, "notify\n");
}

class ObjectHandler : public ObjectTest, public ::testing::WithParamInterface<Handler> {
protected:
    ObjectHandler() {
        object->m_state = GetParam().state;
        object->m_adState = GetParam().adState;
    }
};

TEST_P(ObjectHandler, HoldsTheLockForAllOfItsLines) {
    watch(object->m_mutex, "object");

    GetParam().call(*object);

    EXPECT_JOURNAL_LINES(joined({{locked("object")}, GetParam().lines, {unlocked("object")}}));
}

TEST_P(ObjectHandler, LetsALockFailureOutAndChangesAndLogsNothing) {
    object->m_state = State::Starting;
    object->m_adState = State::Starting;
    object->m_localURL = "old url";
    object->m_localAdURL = "old ad url";
    journal().clear();
    failNext(Call::Lock);

    EXPECT_THROW(GetParam().call(*object), std::system_error);

    EXPECT_EQ(object->m_state, State::Starting);
    EXPECT_EQ(object->m_adState, State::Starting);
    EXPECT_EQ(object->m_localURL, "old url");
    EXPECT_EQ(object->m_localAdURL, "old ad url");
    EXPECT_JOURNAL();
}

TEST_P(ObjectHandler, ReleasesTheLockWhenTheLogThrows) {
    recordingLog().onLine = [](const std::string&) { throw std::bad_alloc(); };

    EXPECT_THROW(GetParam().call(*object), std::bad_alloc);

    EXPECT_FALSE(isHeld(object->m_mutex));
}

INSTANTIATE_TEST_SUITE_P(
    Handlers, ObjectHandler,
    ::testing::Values(Handler{"StartedWhileIdle",
                              [](auto& object) { object.onMediaStarted("url"); },
                              {currentState("onMediaStarted", State::Idle)}},
                      Handler{"StartedWhileStarting",
                              [](auto& object) { object.onMediaStarted("url"); },
                              {currentState("onMediaStarted", State::Starting), notifying("onMediaStarted"),
                               calledBack("main", "movie", "url", "url")},
                              State::Starting},
                      Handler{"StartedWhileStarted",
                              [](auto& object) { object.onMediaStarted("url"); },
                              {currentState("onMediaStarted", State::Started)},
                              State::Started,
                              State::Starting},
                      Handler{"AdStartedWhileIdle",
                              [](auto& object) { object.onAdMediaStarted("url"); },
                              {currentState("onAdMediaStarted", State::Idle)},
                              State::Starting},
                      Handler{"AdStartedWhileStarting",
                              [](auto& object) { object.onAdMediaStarted("url"); },
                              {currentState("onAdMediaStarted", State::Starting), notifying("onAdMediaStarted"),
                               calledBack("ad", "movie", "url", "url")},
                              State::Idle,
                              State::Starting},
                      // No operation brings an advertisement into this state.
                      Handler{"AdStartedWhileStarted",
                              [](auto& object) { object.onAdMediaStarted("url"); },
                              {currentState("onAdMediaStarted", State::Started)},
                              State::Starting,
                              State::Started},
                      Handler{"StartFailed",
                              [](auto& object) { object.onMediaStartedFailed("500", "detail"); },
                              {startFailed("onMediaStartedFailed", State::Started)},
                              State::Started,
                              State::Starting},
                      Handler{"AdStartFailed",
                              [](auto& object) { object.onAdMediaStartedFailed("500", "detail"); },
                              {startFailed("onAdMediaStartedFailed", State::Starting)},
                              State::Started,
                              State::Starting},
                      Handler{"StopFailed",
                              [](auto& object) { object.onMediaStoppedFailed("500", "detail"); },
                              {stopFailed("onMediaStoppedFailed", "500", "detail")}},
                      Handler{"AdStopFailed",
                              [](auto& object) { object.onAdMediaStoppedFailed("500", "detail"); },
                              {stopFailed("onAdMediaStoppedFailed", "500", "detail")}},
                      Handler{"Seeked",
                              [](auto& object) { object.onMediaSeeked(); },
                              {objectLog(1, "onMediaSeeked", "Seek Done. %s\n", "movie")}},
                      Handler{"SeekFailed",
                              [](auto& object) { object.onMediaSeekedFailed("500", "detail"); },
                              {objectLog(1000, "onMediaSeekedFailed", "Seek failed : %s\n", "movie")}}),
    caseName);

class UnknownState : public ObjectTest, public ::testing::WithParamInterface<int> {};

TEST_P(UnknownState, OfTheMainVideoIsStartedWithoutACallback) {
    object->m_state = GetParam();

    object->onMediaStarted("url");

    EXPECT_EQ(object->localURL(), "url");
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_JOURNAL(currentState("onMediaStarted", GetParam()));
}

TEST_P(UnknownState, OfTheAdvertisementIsKeptWithoutACallback) {
    object->m_adState = GetParam();

    object->onAdMediaStarted("url");

    EXPECT_EQ(object->localAdURL(), "url");
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(object->getAdState(), GetParam());
    EXPECT_JOURNAL(currentState("onAdMediaStarted", GetParam()));
}

INSTANTIATE_TEST_SUITE_P(States, UnknownState, ::testing::Values(3, -1));

TEST_F(ObjectTest, UrlsAreStoredBeforeTheFirstLine) {
    std::vector<std::string> stored;
    recordingLog().onLine = [&](const std::string&) {
        stored.push_back(object->m_localURL + "/" + object->m_localAdURL);
    };

    object->onMediaStarted("main");
    object->onAdMediaStarted("ad");

    EXPECT_EQ(stored, (Strings{"main/", "main/ad"}));
}

TEST_F(ObjectTest, UrlIsStoredBeforeTheCallbackAndTheStateChangesAfterIt) {
    object->m_state = State::Starting;
    std::string urlInCallback;
    int stateInCallback = State::Idle;
    duringCallback = [&] {
        urlInCallback = object->m_localURL;
        stateInCallback = object->m_state;
    };

    object->onMediaStarted("url");

    EXPECT_EQ(urlInCallback, "url");
    EXPECT_EQ(stateInCallback, State::Starting);
}

TEST_F(ObjectTest, AdUrlIsStoredBeforeTheCallbackAndTheMainStateChangesAfterIt) {
    object->m_adState = State::Starting;
    std::string urlInCallback;
    int stateInCallback = State::Started;
    duringCallback = [&] {
        urlInCallback = object->m_localAdURL;
        stateInCallback = object->m_state;
    };

    object->onAdMediaStarted("url");

    EXPECT_EQ(urlInCallback, "url");
    EXPECT_EQ(stateInCallback, State::Idle);
}

TEST_F(ObjectTest, CallbackOfAStartHoldsTheObjectsLockButNotTheManagers) {
    object->m_state = State::Starting;
    object->m_adState = State::Starting;
    std::vector<bool> objectHeld;
    std::vector<bool> managerHeld;
    duringCallback = [&] {
        objectHeld.push_back(isHeld(object->m_mutex));
        managerHeld.push_back(isHeld(manager.m_mutex));
    };

    bus().deliver(event("started", "200", kMain));
    bus().deliver(event("started", "200", kAd));

    EXPECT_EQ(objectHeld, (std::vector<bool>{true, true}));
    EXPECT_EQ(managerHeld, (std::vector<bool>{false, false}));
}

TEST_F(ObjectTest, StartWithoutCallbackIsNotifiedInVain) {
    manager.setZUVCallback(nullptr);
    object->m_state = State::Starting;

    object->onMediaStarted("url");

    EXPECT_JOURNAL(currentState("onMediaStarted", State::Starting), notifying("onMediaStarted"),
                   managerLog(4000, "notifyURLChanged", "notify error\n"));
    EXPECT_EQ(object->getState(), State::Started);
}

TEST_F(ObjectTest, CallbackThatThrowsLeavesTheLockFree) {
    object->m_state = State::Starting;
    duringCallback = [] { throw 1; };

    EXPECT_THROW(object->onMediaStarted("url"), int);

    EXPECT_FALSE(isHeld(object->m_mutex));
    EXPECT_EQ(object->getState(), State::Starting);
}

TEST_F(ObjectTest, DestructionSendsNothingAndLeavesTheRegistryAlone) {
    auto unregistered = ZUVMediaProxyObject::create("other");
    manager.m_proxyObjects["other"] = object;
    journal().clear();
    watch(manager.m_mutex, "manager");
    watch(unregistered->m_mutex, "other");

    unregistered.reset();

    EXPECT_JOURNAL();
    EXPECT_EQ(manager.m_proxyObjects.at("other"), object);
}

} // namespace
} // namespace velmora::test
