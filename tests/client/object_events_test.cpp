// How a proxy object decodes an event, and what it does with definitions.
#include "client/client_test.h"

#include <new>
#include <system_error>

namespace velmora::test {
namespace {

class ObjectEvents : public ObjectTest {
protected:
    void receive(Strings event) { object->onZUVEvent(event); }
};

struct Decoding {
    const char* name;
    Strings event;
    std::vector<std::string> lines;
};

Strings fullEvent(const char* name, const char* code, const char* kind) {
    return {name, code, "session", "movie", "4", "5", "url", "definitions", "detail", kind, "10"};
}

std::string seekDone() {
    return objectLog(1, "onMediaSeeked", "Seek Done. %s\n", "movie");
}

std::string seekFailed() {
    return objectLog(1000, "onMediaSeekedFailed", "Seek failed : %s\n", "movie");
}

class DecodedEvent : public ObjectEvents, public ::testing::WithParamInterface<Decoding> {};

TEST_P(DecodedEvent, ReachesItsHandler) {
    receive(GetParam().event);

    EXPECT_JOURNAL_LINES(GetParam().lines);
}

INSTANTIATE_TEST_SUITE_P(
    Events, DecodedEvent,
    ::testing::Values(
        Decoding{"Started",
                 fullEvent("started", "200", "main_video"),
                 {startedLogged("200", "detail", "url"), currentState("onMediaStarted", State::Idle)}},
        Decoding{"StartedOfAnAd",
                 fullEvent("started", "200", "advertisement"),
                 {startedLogged("200", "detail", "url"), currentState("onAdMediaStarted", State::Idle)}},
        Decoding{"StartedOfAnUnknownKind",
                 fullEvent("started", "200", "Advertisement"),
                 {startedLogged("200", "detail", "url"), currentState("onMediaStarted", State::Idle)}},
        Decoding{"StartedWithoutKind",
                 {"started", "200", "session", "movie", "", "", "url", "", "detail"},
                 {startedLogged("200", "detail", "url"), currentState("onMediaStarted", State::Idle)}},
        Decoding{"StartedWithoutUrl",
                 {"started", "200", "session", "movie"},
                 {startedLogged("200", "", ""), currentState("onMediaStarted", State::Idle)}},
        Decoding{"StartFailed",
                 fullEvent("started", "500", "main_video"),
                 {startedLogged("500", "detail", "url"), startFailed("onMediaStartedFailed", State::Idle)}},
        Decoding{"StartOfAnAdFailed",
                 fullEvent("started", "500", "advertisement"),
                 {startedLogged("500", "detail", "url"), startFailed("onAdMediaStartedFailed", State::Idle)}},
        Decoding{"StartedWithoutCode",
                 fullEvent("started", "", "main_video"),
                 {startedLogged("", "detail", "url"), startFailed("onMediaStartedFailed", State::Idle)}},
        Decoding{"StartedWithALongerCode",
                 fullEvent("started", "2000", "main_video"),
                 {startedLogged("2000", "detail", "url"), startFailed("onMediaStartedFailed", State::Idle)}},
        Decoding{"StartedWithABlankInTheCode",
                 fullEvent("started", "200 ", "advertisement"),
                 {startedLogged("200 ", "detail", "url"), startFailed("onAdMediaStartedFailed", State::Idle)}},
        Decoding{"Stopped", fullEvent("stopped", "200", "main_video"), {}},
        Decoding{"StoppedOfAnAd", fullEvent("stopped", "200", "advertisement"), {}},
        Decoding{"StopFailed",
                 fullEvent("stopped", "404", "main_video"),
                 {stopFailed("onMediaStoppedFailed", "404", "detail")}},
        Decoding{"StopOfAnAdFailed",
                 fullEvent("stopped", "404", "advertisement"),
                 {stopFailed("onAdMediaStoppedFailed", "404", "detail")}},
        Decoding{"StopFailedWithoutDetail",
                 {"stopped", "404", "session", "movie"},
                 {stopFailed("onMediaStoppedFailed", "404", "")}},
        Decoding{"Seeked", fullEvent("seeked", "200", "main_video"), {seekDone()}},
        Decoding{"SeekedOfAnAd", fullEvent("seeked", "200", "advertisement"), {seekDone()}},
        Decoding{"SeekFailed", fullEvent("seeked", "500", "main_video"), {seekFailed()}},
        Decoding{"SeekOfAnAdFailed", fullEvent("seeked", "500", "advertisement"), {seekFailed()}}),
    caseName);

struct IgnoredEvent {
    const char* name;
    Strings event;
};

class Ignored : public ObjectEvents, public ::testing::WithParamInterface<IgnoredEvent> {};

TEST_P(Ignored, ChangesAndLogsNothing) {
    object->m_state = State::Starting;
    object->m_adState = State::Starting;
    watch(object->m_mutex, "object");

    receive(GetParam().event);

    EXPECT_EQ(object->m_state, State::Starting);
    EXPECT_EQ(object->m_localURL, "");
    EXPECT_EQ(object->m_localAdURL, "");
    EXPECT_EQ(object->m_definitions, "");
    EXPECT_JOURNAL();
}

Strings eventFor(const char* name, const char* id) {
    return {name, "200", "session", id, "", "", "url", "definitions", "", "main_video"};
}

INSTANTIATE_TEST_SUITE_P(Events, Ignored,
                         ::testing::Values(IgnoredEvent{"EmptyList", {}}, IgnoredEvent{"NameAlone", {"started"}},
                                           IgnoredEvent{"NoIdentifier", {"started", "200", "session"}},
                                           IgnoredEvent{"OtherIdentifier", eventFor("started", "other")},
                                           IgnoredEvent{"IdentifierInOtherCase", eventFor("started", "Movie")},
                                           IgnoredEvent{"LongerIdentifier", eventFor("started", "movie1")},
                                           IgnoredEvent{"ShorterIdentifier", eventFor("started", "movi")},
                                           IgnoredEvent{"StoppedForAnother", eventFor("stopped", "other")},
                                           IgnoredEvent{"SeekedForAnother", eventFor("seeked", "other")},
                                           IgnoredEvent{"DefinitionForAnother", eventFor("definition", "other")},
                                           IgnoredEvent{"Definitions", eventFor("definitions", "movie")},
                                           IgnoredEvent{"NameInOtherCase", eventFor("Started", "movie")},
                                           IgnoredEvent{"UnknownName", eventFor("unknown", "movie")},
                                           IgnoredEvent{"Created", eventFor("created", "movie")},
                                           IgnoredEvent{"Paused", eventFor("paused", "movie")},
                                           IgnoredEvent{"EmptyName", eventFor("", "movie")}),
                         caseName);

TEST_F(ObjectEvents, ForAnObjectWithoutIdentifierNeedNone) {
    const auto nameless = ZUVMediaProxyObject::create("");
    journal().clear();
    Strings event = {"started"};

    nameless->onZUVEvent(event);

    EXPECT_JOURNAL(startedLogged("", "", ""), startFailed("onMediaStartedFailed", State::Idle));
}

TEST_F(ObjectEvents, AreOnlyRead) {
    Strings event = fullEvent("started", "200", "main_video");

    object->onZUVEvent(event);

    EXPECT_EQ(event, fullEvent("started", "200", "main_video"));
}

TEST_F(ObjectEvents, StartedAnswerStoresTheUrlAndCallsBackWhileStarting) {
    object->m_state = State::Starting;

    receive(fullEvent("started", "200", "main_video"));

    EXPECT_EQ(object->localURL(), "url");
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_JOURNAL(startedLogged("200", "detail", "url"), currentState("onMediaStarted", State::Starting),
                   objectLog(4000, "onMediaStarted", "notify\n"), calledBack("main", "movie", "url", "url"));
}

TEST_F(ObjectEvents, StartedAnswerOfAnAdStoresItsUrlAndTheMainState) {
    object->m_adState = State::Starting;

    receive(fullEvent("started", "200", "advertisement"));

    EXPECT_EQ(object->localAdURL(), "url");
    EXPECT_EQ(object->localURL(), "");
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(object->getAdState(), State::Starting);
    EXPECT_EQ(journal().linesOf("callback"), Strings{calledBack("ad", "movie", "url", "url")});
}

TEST_F(ObjectEvents, AreRoutedThroughTheHandlersLockAlone) {
    watch(object->m_mutex, "object");

    receive(fullEvent("seeked", "200", ""));

    EXPECT_JOURNAL(locked("object"), seekDone(), unlocked("object"));
}

// Definitions

class Definitions : public ObjectEvents {
protected:
    static std::string notifying() { return objectLog(4000, "onDefinitionsChanged", "notify\n"); }
    static std::string invalidState(int state) {
        return objectLog(1000, "onDefinitionsChanged", "Invalid state:%d.\n", state);
    }
    static std::string newText(const char* text) {
        return objectLog(4000, "onDefinitionsChanged", "definitions : %s\n", text);
    }
};

TEST_F(Definitions, WhileIdleAreKeptWithoutACallback) {
    receive(fullEvent("definition", "200", "main_video"));

    EXPECT_EQ(object->m_definitions, "definitions");
    EXPECT_JOURNAL(invalidState(State::Idle), newText("definitions"));
}

class DefinitionsNotified : public Definitions, public ::testing::WithParamInterface<int> {};

TEST_P(DefinitionsNotified, AreKeptAndPassedOn) {
    object->m_state = GetParam();

    receive(fullEvent("definition", "", "advertisement"));

    EXPECT_EQ(object->m_definitions, "definitions");
    EXPECT_EQ(object->m_state, GetParam());
    EXPECT_JOURNAL(notifying(), calledBack("main", "movie", "definitions", "definitions"), newText("definitions"));
}

INSTANTIATE_TEST_SUITE_P(States, DefinitionsNotified, ::testing::Values(State::Starting, State::Started));

class DefinitionsInvalid : public Definitions, public ::testing::WithParamInterface<int> {};

TEST_P(DefinitionsInvalid, AreKeptOnly) {
    object->m_state = GetParam();
    object->m_adState = State::Starting;

    object->onDefinitionsChanged("text");

    EXPECT_EQ(object->m_definitions, "text");
    EXPECT_JOURNAL(invalidState(GetParam()), newText("text"));
}

INSTANTIATE_TEST_SUITE_P(States, DefinitionsInvalid, ::testing::Values(State::Idle, 3, -1));

TEST_F(Definitions, ReplaceEarlierOnes) {
    object->m_definitions = "earlier";
    object->m_state = State::Started;

    receive({"definition", "200", "session", "movie", "", "", ""});

    EXPECT_EQ(object->m_definitions, "");
    EXPECT_JOURNAL(notifying(), calledBack("main", "movie", "definitions", ""), newText(""));
}

TEST_F(Definitions, CallBackWithoutTheLockAndAreStoredBefore) {
    object->m_state = State::Started;
    bool held = true;
    std::string stored;
    duringCallback = [&] {
        held = isHeld(object->m_mutex) || isHeld(manager.m_mutex);
        stored = object->m_definitions;
    };

    receive(fullEvent("definition", "200", ""));

    EXPECT_FALSE(held);
    EXPECT_EQ(stored, "definitions");
}

TEST_F(Definitions, LookAtTheStateAfterTheyAreStored) {
    afterNextUnlock(object->m_mutex, [this] { object->m_state = State::Starting; });

    object->onDefinitionsChanged("text");

    EXPECT_JOURNAL(notifying(), calledBack("main", "movie", "definitions", "text"), newText("text"));
}

TEST_F(Definitions, TakeTheLockForTheTextAndForTheStateAndLogWithoutIt) {
    watch(object->m_mutex, "object");

    object->onDefinitionsChanged("text");

    EXPECT_JOURNAL(locked("object"), unlocked("object"), locked("object"), unlocked("object"),
                   invalidState(State::Idle), newText("text"));
}

TEST_F(Definitions, WithoutCallbackAreNotifiedInVain) {
    manager.setZUVCallback(nullptr);
    object->m_state = State::Started;

    object->onDefinitionsChanged("text");

    EXPECT_JOURNAL(notifying(), managerLog(4000, "notifyDefinitionsChanged", "notify error\n"), newText("text"));
}

TEST_F(Definitions, LookAtTheStateBehindTheirOwnLock) {
    object->m_state = State::Idle;
    afterNextUnlock(object->m_mutex, [this] { object->m_state = State::Starting; });

    object->onDefinitionsChanged("text");

    EXPECT_EQ(journal().count(calledBack("main", "movie", "definitions", "text")), 1u);
}

TEST_F(Definitions, LetALockFailureOut) {
    failNext(Call::Lock);

    EXPECT_THROW(object->onDefinitionsChanged("text"), std::system_error);
}

TEST_F(Definitions, ThatArrivedWhileIdleAreDeliveredByAttaching) {
    receive(fullEvent("started", "200", "main_video"));
    object->m_state = State::Idle;
    receive(fullEvent("definition", "200", "main_video"));
    journal().clear();

    object->start("", 0);

    EXPECT_EQ(journal().linesOf("callback"), (Strings{calledBack("main", "movie", "url", "url"),
                                                      calledBack("main", "movie", "definitions", "definitions")}));
}

} // namespace
} // namespace velmora::test
