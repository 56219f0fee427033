// The application's calls on a proxy object.
#include "client/client_test.h"

#include <new>
#include <system_error>
#include <thread>

namespace velmora::test {
namespace {

class ObjectOperations : public ObjectTest {
protected:
    /// The first command of the test.
    static std::string sent(Fields fields) {
        fields.emplace_back(2, sessionId(1));
        fields.emplace_back(3, "movie");
        fields.emplace_back(4, kRequestTimeAtBeginning);
        return command(fields);
    }
    static Strings started(const char* id, const char* kind) {
        return {"started", "200", sessionId(1), id, "", "", "local", "", "", kind, ""};
    }
};

// What every operation does: trace, send without the lock, trace.

struct ProxyOperation {
    const char* name;
    const char* function;
    std::function<void(ZUVMediaProxyInterface&)> call;
    std::vector<std::string> beforeCommand;
    /// What the command holds besides session, identifier and time; none is sent when empty.
    Fields fields;
    std::vector<std::string> insteadOfCommand = {};
};

const ProxyOperation operations[] = {
    {"Start",
     "start",
     [](auto& object) { object.start("url", 3); },
     {},
     {{0, "start"}, {1, "main_video"}, {6, "url"}, {9, "3"}}},
    {"StartWithNegativeOption",
     "start",
     [](auto& object) { object.start("", -1); },
     {},
     {{0, "start"}, {1, "main_video"}, {9, "-1"}}},
    {"StartAd",
     "startAd",
     [](auto& object) { object.startAd("url", 3); },
     {},
     {{0, "start"}, {1, "advertisement"}, {6, "url"}, {9, "3"}}},
    {"Stop", "stop", [](auto& object) { object.stop(); }, {}, {{0, "stop"}, {1, "main_video"}}},
    {"StopAd", "stopAd", [](auto& object) { object.stopAd(); }, {}, {{0, "stop"}, {1, "advertisement"}}},
    {"Pause",
     "pause",
     [](auto& object) { object.pause(); },
     {},
     {},
     {printedLine("zuv_media_proxy_manager.cpp", "requestRemoteObjectPause"),
      managerLog(1000, "requestRemoteObjectPause", "NotImplemented.\n")}},
    {"Seek", "seek", [](auto& object) { object.seek(12.5, "text"); }, {}, {{0, "seek"}, {5, "12.500000"}, {6, "text"}}},
    {"Preload",
     "preload",
     [](auto& object) { object.preload(3.5, "one", "two", "three"); },
     neutralEventPublished(),
     {{0, "preload"}, {1, "main_video"}, {5, "3.500000"}, {6, "one"}, {7, "two"}, {8, "three"}}},
    {"PreloadAd",
     "preloadAd",
     [](auto& object) { object.preloadAd("one", "three"); },
     neutralEventPublished(),
     {{0, "preload"}, {1, "advertisement"}, {5, "0.000000"}, {6, "one"}, {8, "three"}}},
};

class ObjectOperation : public ObjectOperations, public ::testing::WithParamInterface<ProxyOperation> {
protected:
    // A seek needs a state that is not idle.
    ObjectOperation() { object->m_state = State::Started; }
    void call() { GetParam().call(*object); }
    static std::vector<std::string> commandOrOther() {
        return GetParam().fields.empty() ? GetParam().insteadOfCommand
                                         : std::vector<std::string>{sent(GetParam().fields)};
    }
};

TEST_P(ObjectOperation, IsTracedAndSendsOneCommand) {
    call();

    EXPECT_JOURNAL_LINES(joined(
        {{traceIn(GetParam().function)}, GetParam().beforeCommand, commandOrOther(), {traceOut(GetParam().function)}}));
}

TEST_P(ObjectOperation, TellsTheManagerWithoutTheLock) {
    bool held = false;
    bus().onPublish = [&](const std::string&, const Strings&) { held = held || isHeld(object->m_mutex); };
    recordingLog().onLine = [&](const std::string&) { held = held || isHeld(object->m_mutex); };

    call();

    EXPECT_FALSE(held);
}

TEST_P(ObjectOperation, TracesTheWayOutWhenTheLockFails) {
    failNext(Call::Lock);

    EXPECT_THROW(call(), std::system_error);

    EXPECT_EQ(journal().lines().front(), traceIn(GetParam().function));
    EXPECT_EQ(journal().lines().back(), traceOut(GetParam().function));
}

TEST_P(ObjectOperation, ChangesNoStateAndNoUrlWhenTheLockFails) {
    object->m_state = State::Started;
    object->m_adState = State::Started;
    object->m_localURL = "url";
    object->m_localAdURL = "ad url";
    failNext(Call::Lock);

    EXPECT_THROW(call(), std::system_error);

    EXPECT_EQ(object->m_state, State::Started);
    EXPECT_EQ(object->m_adState, State::Started);
    EXPECT_EQ(object->m_localURL, "url");
    EXPECT_EQ(object->m_localAdURL, "ad url");
}

TEST_P(ObjectOperation, EndsTheProcessWhenTheLogThrowsOnTheWayOut) {
    const auto callWithThrowingLog = [&] {
        recordingLog().onLine = [](const std::string& line) {
            if (line == traceOut(GetParam().function))
                throw std::bad_alloc();
        };
        try {
            call();
        } catch (...) {
        }
    };

    EXPECT_DEATH(callWithThrowingLog(), "bad_alloc");
}

INSTANTIATE_TEST_SUITE_P(Operations, ObjectOperation, ::testing::ValuesIn(operations), caseName);

class SendingOperation : public ObjectOperation {};

TEST_P(SendingOperation, TracesTheWayOutWhenThePublishThrows) {
    bus().onPublish = [](const std::string& topic, const Strings&) {
        if (topic == kCommandTopic)
            throw std::bad_alloc();
    };

    EXPECT_THROW(call(), std::bad_alloc);

    EXPECT_EQ(journal().lines().back(), traceOut(GetParam().function));
}

TEST_P(SendingOperation, WithoutAccessSendsNothing) {
    loseAccess();

    call();

    EXPECT_TRUE(journal().linesOf("bus: publish").empty());
    EXPECT_EQ(journal().lines().back(), traceOut(GetParam().function));
}

TEST_P(SendingOperation, WaitsInsideTheTraceInSynchronousMode) {
    enterSynchronousMode();

    call();

    const std::vector<std::string> lines = journal().lines();
    EXPECT_EQ(journal().count(sent(GetParam().fields)), 1u);
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], waitTimedOut());
    EXPECT_EQ(lines[lines.size() - 1], traceOut(GetParam().function));
}

INSTANTIATE_TEST_SUITE_P(Operations, SendingOperation,
                         ::testing::Values(operations[0], operations[2], operations[3], operations[4], operations[6],
                                           operations[7], operations[8]),
                         caseName);

// The fields are set before anything is sent.

class FieldsWhenSending : public ObjectOperations {
protected:
    FieldsWhenSending() {
        object->m_state = State::Started;
        object->m_adState = State::Starting;
        object->m_localURL = "url";
        object->m_localAdURL = "ad url";
        bus().onPublish = [this](const std::string& topic, const Strings&) {
            (topic == kCommandTopic ? atCommand : atNeutralEvent) = fields();
        };
    }
    Strings fields() const {
        return {std::to_string(object->m_state), std::to_string(object->m_adState), object->m_localURL,
                object->m_localAdURL};
    }
    Strings atCommand;
    Strings atNeutralEvent;
};

TEST_F(FieldsWhenSending, OfStart) {
    object->start("new", 1);
    EXPECT_EQ(atCommand, (Strings{"1", "1", "url", "ad url"}));
}

TEST_F(FieldsWhenSending, OfStartAd) {
    object->m_adState = State::Idle;
    object->startAd("new", 1);
    EXPECT_EQ(atCommand, (Strings{"2", "1", "url", "ad url"}));
}

TEST_F(FieldsWhenSending, OfStop) {
    object->stop();
    EXPECT_EQ(atCommand, (Strings{"0", "1", "", "ad url"}));
}

TEST_F(FieldsWhenSending, OfStopAd) {
    object->stopAd();
    EXPECT_EQ(atCommand, (Strings{"2", "0", "url", ""}));
}

TEST_F(FieldsWhenSending, OfPreload) {
    object->preload(0.0, "", "", "");
    EXPECT_EQ(atNeutralEvent, (Strings{"2", "1", "url", "ad url"}));
    EXPECT_EQ(atCommand, (Strings{"2", "1", "", "ad url"}));
}

TEST_F(FieldsWhenSending, OfPreloadAd) {
    object->preloadAd("", "");
    EXPECT_EQ(atNeutralEvent, (Strings{"2", "1", "url", "ad url"}));
    EXPECT_EQ(atCommand, (Strings{"2", "1", "url", ""}));
}

// Seek

TEST_F(ObjectOperations, SeekOfAnIdleObjectIsOnlyRememberedAndTraced) {
    object->seek(12.5, "text");

    EXPECT_EQ(object->m_seekPosition, 12.5);
    EXPECT_JOURNAL(traceIn("seek"), traceOut("seek"));
}

TEST_F(ObjectOperations, SeekIsSentWhileStarting) {
    object->m_state = State::Starting;

    object->seek(-0.5, "");

    EXPECT_EQ(object->m_seekPosition, -0.5);
    EXPECT_EQ(journal().count(sent({{0, "seek"}, {5, "-0.500000"}})), 1u);
}

class SeekInUnknownState : public ObjectOperations, public ::testing::WithParamInterface<int> {};

TEST_P(SeekInUnknownState, IsSent) {
    object->m_state = GetParam();

    object->seek(1.0, "");

    EXPECT_EQ(bus().commandCount("seek"), 1);
    EXPECT_EQ(object->getState(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(States, SeekInUnknownState, ::testing::Values(3, -1));

TEST_F(ObjectOperations, SeekLooksAtTheStateAfterItsFirstLock) {
    object->m_state = State::Starting;
    afterNextUnlock(object->m_mutex, [this] { object->m_state = State::Idle; });

    object->seek(1.0, "");

    EXPECT_EQ(bus().commandCount("seek"), 0);
}

TEST_F(ObjectOperations, SeekReadsTheStateUnderTheLockAgain) {
    watch(object->m_mutex, "object");

    object->seek(1.0, "");

    EXPECT_JOURNAL(traceIn("seek"), locked("object"), unlocked("object"), locked("object"), unlocked("object"),
                   traceOut("seek"));
}

TEST_F(ObjectOperations, StartThatSendsDoesNotLookAtTheUrl) {
    watch(object->m_mutex, "object");

    object->start("url", 1);

    EXPECT_EQ(journal().count(locked("object")), 1u);
}

TEST_F(ObjectOperations, StartAdThatSendsDoesNotLookAtTheUrl) {
    watch(object->m_mutex, "object");

    object->startAd("url", 1);

    EXPECT_EQ(journal().count(locked("object")), 1u);
}

TEST_F(ObjectOperations, SeekDoesNotLookAtTheAdvertisement) {
    object->m_adState = State::Starting;

    object->seek(1.0, "");

    EXPECT_EQ(bus().commandCount("seek"), 0);
}

TEST_F(ObjectOperations, SeekIsTracedBeforeItRemembersItsPosition) {
    std::vector<double> positions;
    recordingLog().onLine = [&](const std::string&) { positions.push_back(object->m_seekPosition); };

    object->seek(12.5, "");

    EXPECT_EQ(positions, (std::vector<double>{0.0, 12.5}));
}

TEST_F(ObjectOperations, SeekRemembersItsPositionEvenWhenTheLockFails) {
    failNext(Call::Lock);

    EXPECT_THROW(object->seek(12.5, ""), std::system_error);

    EXPECT_EQ(object->m_seekPosition, 12.5);
}

TEST_F(ObjectOperations, PreloadWithoutAccessIsReportedByBothSteps) {
    loseAccess();

    object->preload(0.0, "", "", "");

    EXPECT_JOURNAL_LINES(joined({{traceIn("preload"), neutralEventPublished().front()},
                                 noAccess("initializeZUVEvent"),
                                 noAccess("requestRemoteObjectPreload"),
                                 {traceOut("preload")}}));
}

TEST_F(ObjectOperations, StopClearsAtOnceWhateverTheServiceAnswers) {
    object->m_state = State::Started;
    object->m_localURL = "url";

    object->stop();
    EXPECT_EQ(object->getState(), State::Idle);
    EXPECT_EQ(object->localURL(), "");

    bus().deliver({"stopped", "500", sessionId(1), "movie", "", "", "", "", "", "main_video"});
    EXPECT_EQ(object->getState(), State::Idle);
    EXPECT_EQ(object->localURL(), "");
}

// start(url, 0) and startAd(url, 0): attaching to a preload.

std::string received(const char* function) {
    return objectLog(4000, function, "notification from preload has been received\n");
}

std::string notReceived(const char* function) {
    return objectLog(4000, function, "notification from preload is not received, and will read it first\n");
}

class Attaching : public ObjectOperations {
protected:
    static std::string askedTheBus() { return busLine(std::string("read ") + kEventTopic); }
    static std::vector<std::string> readFromMemory(const Strings& event) {
        return joined({regionRead(event), {managerLog(4000, "readZUVEvent", "read memory success.\n")}});
    }
};

TEST_F(Attaching, StartDeliversUrlAndDefinitionsOfAHandledPreload) {
    object->m_localURL = "local";
    object->m_definitions = "definitions";

    object->start("ignored", 0);

    EXPECT_EQ(object->getState(), State::Starting);
    EXPECT_JOURNAL(traceIn("start"), received("start"), calledBack("main", "movie", "url", "local"),
                   calledBack("main", "movie", "definitions", "definitions"), traceOut("start"));
    EXPECT_EQ(journal().threadOf(calledBack("main", "movie", "url", "local")), std::this_thread::get_id());
}

TEST_F(Attaching, StartDeliversEmptyDefinitionsWhenNoneArrived) {
    bus().deliver(started("movie", "main_video"));
    journal().clear();

    object->start("ignored", 0);

    EXPECT_EQ(object->getState(), State::Starting);
    EXPECT_JOURNAL(traceIn("start"), received("start"), calledBack("main", "movie", "url", "local"),
                   calledBack("main", "movie", "definitions", ""), traceOut("start"));
}

TEST_F(Attaching, StartAdDeliversTheUrlAlone) {
    object->m_localAdURL = "local";
    object->m_definitions = "definitions";

    object->startAd("ignored", 0);

    EXPECT_EQ(object->getAdState(), State::Starting);
    EXPECT_EQ(object->getState(), State::Idle);
    EXPECT_JOURNAL(traceIn("startAd"), received("startAd"), calledBack("ad", "movie", "url", "local"),
                   traceOut("startAd"));
}

TEST_F(Attaching, DeliveriesOfAHandledPreloadHoldNoLock) {
    object->m_localURL = "local";
    object->m_localAdURL = "local";
    int calls = 0;
    bool held = false;
    duringCallback = [&] {
        ++calls;
        held = held || isHeld(object->m_mutex) || isHeld(manager.m_mutex);
    };

    object->start("", 0);
    object->startAd("", 0);

    EXPECT_EQ(calls, 3);
    EXPECT_FALSE(held);
}

TEST_F(Attaching, StartLooksAtTheMainVideosUrlOnly) {
    object->m_localAdURL = "local";

    object->start("", 0);

    EXPECT_EQ(journal().count(notReceived("start")), 1u);
}

TEST_F(Attaching, StartAdLooksAtTheAdvertisementsUrlOnly) {
    object->m_localURL = "local";

    object->startAd("", 0);

    EXPECT_EQ(journal().count(notReceived("startAd")), 1u);
}

TEST_F(Attaching, StartLooksAtTheUrlAfterTheStateIsSet) {
    // The answer comes in between: handled while starting, and found as received as well.
    afterNextUnlock(object->m_mutex, [] { bus().deliver(started("movie", "main_video")); });

    object->start("ignored", 0);

    EXPECT_EQ(journal().count(received("start")), 1u);
    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "local")), 2u);
    EXPECT_EQ(object->getState(), State::Started);
}

TEST_F(Attaching, StartAdLooksAtTheUrlAfterTheStateIsSet) {
    afterNextUnlock(object->m_mutex, [] { bus().deliver(started("movie", "advertisement")); });

    object->startAd("ignored", 0);

    EXPECT_EQ(journal().count(received("startAd")), 1u);
    EXPECT_EQ(journal().count(calledBack("ad", "movie", "url", "local")), 2u);
}

TEST_F(Attaching, StartReadsTheDefinitionsBehindTheUrlsCallback) {
    object->m_localURL = "local";
    object->m_definitions = "earlier";
    duringCallback = [this] { object->m_definitions = "new"; };

    object->start("ignored", 0);

    EXPECT_EQ(journal().linesOf("callback").back(), calledBack("main", "movie", "definitions", "new"));
}

TEST_F(Attaching, ReadsEachFieldUnderTheLockAgain) {
    object->m_localURL = "local";
    object->m_localAdURL = "local";
    watch(object->m_mutex, "object");

    object->start("ignored", 0);
    object->startAd("ignored", 0);

    const std::string lock = locked("object");
    const std::string unlock = unlocked("object");
    EXPECT_JOURNAL(traceIn("start"), lock, unlock, lock, unlock, received("start"),
                   calledBack("main", "movie", "url", "local"), lock, unlock,
                   calledBack("main", "movie", "definitions", ""), traceOut("start"),
                   // The advertisement has no definitions.
                   traceIn("startAd"), lock, unlock, lock, unlock, received("startAd"),
                   calledBack("ad", "movie", "url", "local"), traceOut("startAd"));
}

TEST_F(Attaching, StartReadsTheAnswerFromSharedMemory) {
    mapRegion();
    const Strings answer = started("movie", "main_video");
    eventRegion().writeEvent(answer);

    object->start("ignored", 0);

    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(object->localURL(), "local");
    EXPECT_JOURNAL_LINES(joined({{traceIn("start"), notReceived("start")},
                                 readFromMemory(answer),
                                 {startedLogged("200", "", "local"), currentState("onMediaStarted", State::Starting),
                                  objectLog(4000, "onMediaStarted", "notify\n"),
                                  calledBack("main", "movie", "url", "local"), traceOut("start")}}));
}

TEST_F(Attaching, StartAdReadsTheAnswerFromSharedMemory) {
    mapRegion();
    const Strings answer = started("movie", "advertisement");
    eventRegion().writeEvent(answer);

    object->startAd("ignored", 0);

    EXPECT_EQ(object->getAdState(), State::Starting);
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(object->localAdURL(), "local");
    EXPECT_JOURNAL_LINES(joined({{traceIn("startAd"), notReceived("startAd")},
                                 readFromMemory(answer),
                                 {startedLogged("200", "", "local"), currentState("onAdMediaStarted", State::Starting),
                                  objectLog(4000, "onAdMediaStarted", "notify\n"),
                                  calledBack("ad", "movie", "url", "local"), traceOut("startAd")}}));
}

TEST_F(Attaching, StartReadsTheAnswerFromTheBusWhileTheRegionIsNotMapped) {
    bus().topicValue = started("movie", "main_video");

    object->start("ignored", 0);

    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(journal().count(askedTheBus()), 1u);
    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "local")), 1u);
}

TEST_F(Attaching, StartWithNoEventAnywhereWaitsForTheBus) {
    object->start("ignored", 0);

    EXPECT_EQ(object->getState(), State::Starting);
    EXPECT_JOURNAL(traceIn("start"), notReceived("start"), regionNotMapped(), askedTheBus(), traceOut("start"));
}

TEST_F(Attaching, StartAdWithNoEventAnywhereWaitsForTheBus) {
    object->startAd("ignored", 0);

    EXPECT_EQ(object->getAdState(), State::Starting);
    EXPECT_JOURNAL(traceIn("startAd"), notReceived("startAd"), regionNotMapped(), askedTheBus(), traceOut("startAd"));
}

TEST_F(Attaching, StartIgnoresTheEventOfAnotherObject) {
    const auto other = registeredObject("other");
    mapRegion();
    eventRegion().writeEvent(started("other", "main_video"));

    object->start("ignored", 0);

    EXPECT_EQ(object->getState(), State::Starting);
    EXPECT_EQ(object->localURL(), "");
    EXPECT_EQ(other->getState(), State::Idle);
    EXPECT_TRUE(journal().linesOf("callback").empty());
}

TEST_F(Attaching, StartHandlesAnyEventOfItsObjectThatIsThere) {
    mapRegion();
    eventRegion().writeEvent({"definition", "200", "", "movie", "", "", "", "new definitions"});

    object->start("ignored", 0);

    EXPECT_EQ(object->m_definitions, "new definitions");
    EXPECT_EQ(journal().count(calledBack("main", "movie", "definitions", "new definitions")), 1u);
}

TEST_F(Attaching, StartAdHandlesAnAnswerForTheMainVideoAsSuch) {
    mapRegion();
    eventRegion().writeEvent(started("movie", "main_video"));

    object->startAd("ignored", 0);

    EXPECT_EQ(object->localURL(), "local");
    EXPECT_EQ(object->localAdURL(), "");
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(object->getAdState(), State::Starting);
    EXPECT_TRUE(journal().linesOf("callback").empty());
}

TEST_F(Attaching, StartAdIgnoresTheEventOfAnotherObject) {
    mapRegion();
    eventRegion().writeEvent(started("other", "advertisement"));

    object->startAd("ignored", 0);

    EXPECT_EQ(object->getAdState(), State::Starting);
    EXPECT_EQ(object->getState(), State::Idle);
    EXPECT_EQ(object->localAdURL(), "");
    EXPECT_TRUE(journal().linesOf("callback").empty());
}

TEST_F(Attaching, SameEventFromTheBusCallsBackOnlyOnce) {
    mapRegion();
    eventRegion().writeEvent(started("movie", "main_video"));
    object->start("ignored", 0);

    bus().deliver(started("movie", "main_video"));

    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "local")), 1u);
}

TEST_F(Attaching, ReadsWithoutTheLock) {
    bool held = false;
    recordingLog().onLine = [&](const std::string&) { held = held || isHeld(object->m_mutex); };

    object->start("ignored", 0);

    EXPECT_FALSE(held);
}

TEST_F(Attaching, SendsNothingInSynchronousModeEither) {
    enterSynchronousMode();
    object->m_localURL = "local";
    object->m_localAdURL = "local";

    object->start("ignored", 0);
    object->startAd("ignored", 0);

    EXPECT_TRUE(journal().linesOf("bus: publish").empty());
    EXPECT_TRUE(journal().linesOf("sleep").empty());
}

TEST_F(Attaching, LeavesEveryLockFreeWhenTheReaderThrows) {
    mapRegion();
    eventRegion().write(R"({"0":{}})");

    EXPECT_ANY_THROW(object->start("ignored", 0));

    EXPECT_EQ(journal().lines().back(), traceOut("start"));
}

// Whole sequences.

class Sequences : public ObjectOperations {
protected:
    /// The service leaves its answer in shared memory and sends it over the bus as well.
    static void answerInMemory(const char* commandName, const Strings& answer) {
        bus().onCommand(commandName, 1, [answer](const Strings&) { eventRegion().writeEvent(answer); });
    }
};

TEST_F(Sequences, DirectPlay) {
    object->start("url", 1);
    EXPECT_EQ(object->getState(), State::Starting);

    bus().deliver(started("movie", "main_video"));
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_EQ(journal().linesOf("callback"), Strings{calledBack("main", "movie", "url", "local")});

    object->seek(5.0, "");
    EXPECT_EQ(bus().commandCount("seek"), 1);

    object->stop();
    EXPECT_EQ(object->getState(), State::Idle);
}

TEST_F(Sequences, PreloadedPlay) {
    object->m_localURL = "old";
    object->preload(0.0, "next", "", "");
    EXPECT_EQ(object->localURL(), "");

    bus().deliver(started("movie", "main_video"));
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_TRUE(journal().linesOf("callback").empty());

    object->start("", 0);
    EXPECT_EQ(object->getState(), State::Starting);
    EXPECT_EQ(bus().commandCount("start"), 0);
    EXPECT_EQ(journal().linesOf("callback").size(), 2u);
}

// What the public header says a callback does not say.

TEST_F(Sequences, LateAnswerToAStoppedStartTakesTheCallbackOfTheNextOne) {
    object->start("A", 1);
    object->stop();
    object->start("B", 1);
    bus().deliver({"started", "200", "", "movie", "", "", "local A", "", "", "main_video"});
    bus().deliver({"started", "200", "", "movie", "", "", "local B", "", "", "main_video"});

    EXPECT_EQ(journal().linesOf("callback"), Strings{calledBack("main", "movie", "url", "local A")});
    EXPECT_EQ(object->localURL(), "local B");
}

TEST_F(Sequences, AdvertisementThatStartsBeforeItsFilmTakesTheFilmsCallback) {
    object->start("film", 1);
    object->startAd("advertisement", 1);
    bus().deliver(started("movie", "advertisement"));
    bus().deliver(started("movie", "main_video"));

    EXPECT_EQ(journal().linesOf("callback"), Strings{calledBack("ad", "movie", "url", "local")});
    EXPECT_EQ(object->localURL(), "local");
}

TEST_F(Sequences, PreloadedPlayBeginsWithTheDefinitionsOfTheTitleBefore) {
    object->start("url", 1);
    bus().deliver({"definition", "200", "", "movie", "", "", "", "earlier"});
    object->stop();
    object->preload(0.0, "next", "", "");
    bus().deliver(started("movie", "main_video"));
    journal().clear();

    object->start("", 0);
    bus().deliver({"definition", "200", "", "movie", "", "", "", "new"});

    EXPECT_EQ(journal().linesOf("callback"), (Strings{calledBack("main", "movie", "url", "local"),
                                                      calledBack("main", "movie", "definitions", "earlier"),
                                                      calledBack("main", "movie", "definitions", "new")}));
}

TEST_F(Sequences, SynchronousStartOfTheMainVideoCallsBackOnce) {
    enterSynchronousMode();
    answerInMemory("start", started("movie", "main_video"));

    object->start("url", 1);
    EXPECT_EQ(object->getState(), State::Started);
    bus().deliver(started("movie", "main_video"));

    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "local")), 1u);
}

TEST_F(Sequences, SynchronousStartOfAnAdvertisementCallsBackTwice) {
    enterSynchronousMode();
    answerInMemory("start", started("movie", "advertisement"));

    object->startAd("url", 1);
    EXPECT_EQ(journal().count(calledBack("ad", "movie", "url", "local")), 1u);
    bus().deliver(started("movie", "advertisement"));

    EXPECT_EQ(journal().count(calledBack("ad", "movie", "url", "local")), 2u);
    EXPECT_EQ(object->getAdState(), State::Starting);
}

TEST_F(Sequences, TwoThreadsDeliveringOneAnswerCallBackOnce) {
    object->start("url", 1);

    std::thread first([] { bus().deliverHere(started("movie", "main_video")); });
    std::thread second([] { bus().deliverHere(started("movie", "main_video")); });
    first.join();
    second.join();

    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "local")), 1u);
    EXPECT_EQ(object->getState(), State::Started);
}

TEST_F(Sequences, SynchronousStopIsAnsweredByStopped) {
    enterSynchronousMode();
    answerInMemory("stop", {"stopped", "200", sessionId(1), "movie"});

    object->stop();

    EXPECT_EQ(journal().count(waitUsed(0)), 1u);
}

TEST_F(Sequences, SynchronousPreloadIsAnsweredByStarted) {
    enterSynchronousMode();
    answerInMemory("preload", started("movie", "main_video"));

    object->preload(0.0, "next", "", "");

    EXPECT_EQ(object->localURL(), "local");
    EXPECT_EQ(object->getState(), State::Started);
    EXPECT_TRUE(journal().linesOf("callback").empty());
}

} // namespace
} // namespace velmora::test
