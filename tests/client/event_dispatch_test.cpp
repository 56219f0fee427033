// What the manager does with an event, the neutral event, and the lookups by identifier.
#include "client/client_test.h"

namespace velmora::test {
namespace {

class EventDispatch : public ManagerTest {
protected:
    void dispatch(Strings event) { manager.onZUVEvent(event); }
};

// "created"

class CreatedEvent : public EventDispatch {
protected:
    static std::string newCreatedObject(const char* session, const char* id) {
        return managerLog(1, "onZUVEvent", "New Created Object: %s - %s\n", session, id);
    }
};

TEST_F(CreatedEvent, HandsTheIdentifierOverAndWakesEveryWaiter) {
    dispatch({"created", "200", "session", "movie"});

    EXPECT_EQ(manager.m_createdObjectIds, Strings{"movie"});
    EXPECT_JOURNAL(newCreatedObject("session", "movie"), notifiedAll());
}

TEST_F(CreatedEvent, LogsFirstThenAppendsAndNotifiesUnderTheLock) {
    watch(manager.m_mutex, "manager");
    Strings createdWhenNotified;
    virtualTime().onNotify = [&] { createdWhenNotified = manager.m_createdObjectIds; };

    dispatch({"created", "200", "session", "movie"});

    EXPECT_EQ(createdWhenNotified, Strings{"movie"});
    EXPECT_JOURNAL(newCreatedObject("session", "movie"), locked("manager"), notifiedAll(), unlocked("manager"));
}

TEST_F(CreatedEvent, AppendsOnlyWhenItHasTheLock) {
    beforeNextLock(manager.m_mutex, [this] { manager.m_createdObjectIds.push_back("earlier"); });

    dispatch({"created", "200", "session", "movie"});

    EXPECT_EQ(manager.m_createdObjectIds, (Strings{"earlier", "movie"}));
}

TEST_F(CreatedEvent, TwiceForOneObjectAppendsAndNotifiesTwice) {
    dispatch({"created", "200", "session", "movie"});
    dispatch({"created", "200", "session", "movie"});

    EXPECT_EQ(manager.m_createdObjectIds, (Strings{"movie", "movie"}));
    EXPECT_EQ(journal().count(notifiedAll()), 2u);
}

TEST_F(CreatedEvent, AppendsBehindEarlierIdentifiers) {
    manager.m_createdObjectIds = {"earlier"};

    dispatch({"created", "200", "session", "movie"});

    EXPECT_EQ(manager.m_createdObjectIds, (Strings{"earlier", "movie"}));
}

TEST_F(CreatedEvent, WithoutIdentifierAppendsAnEmptyOne) {
    dispatch({"created", "200"});

    EXPECT_EQ(manager.m_createdObjectIds, Strings{""});
    EXPECT_JOURNAL(newCreatedObject("", ""), notifiedAll());
}

TEST_F(CreatedEvent, IsNotRoutedToAnObject) {
    const auto object = registeredObject("movie");

    dispatch({"created", "200", "session", "movie"});

    EXPECT_JOURNAL(newCreatedObject("session", "movie"), notifiedAll());
}

class FailedCreatedEvent : public EventDispatch, public ::testing::WithParamInterface<const char*> {};

TEST_P(FailedCreatedEvent, IsOnlyLogged) {
    manager.m_createdObjectIds = {"earlier"};
    watch(manager.m_mutex, "manager");

    dispatch({"created", GetParam(), "session", "movie"});

    EXPECT_EQ(manager.m_createdObjectIds, Strings{"earlier"});
    EXPECT_JOURNAL(managerLog(1000, "onZUVEvent", "Create Failed: %s\n", "session"));
}

INSTANTIATE_TEST_SUITE_P(Codes, FailedCreatedEvent,
                         ::testing::Values("201", "", "500", "200 ", " 200", "0200", "20", "2000"));

TEST_F(EventDispatch, CreatedWithoutACodeFails) {
    dispatch({"created"});

    EXPECT_TRUE(manager.m_createdObjectIds.empty());
    EXPECT_JOURNAL(managerLog(1000, "onZUVEvent", "Create Failed: %s\n", ""));
}

// "status"

class StatusEvent : public EventDispatch, public ::testing::WithParamInterface<const char*> {};

TEST_P(StatusEvent, WakesEveryWaiterAndChangesNothingElse) {
    const auto object = registeredObject("movie");
    watch(manager.m_mutex, "manager");

    dispatch({"status", GetParam(), "session", "movie"});

    EXPECT_TRUE(manager.m_createdObjectIds.empty());
    EXPECT_EQ(object->m_state, State::Idle);
    EXPECT_JOURNAL(managerLog(4000, "onZUVEvent", "zuv service alive: %s - %s\n", "session", "movie"),
                   locked("manager"), notifiedAll(), unlocked("manager"));
}

INSTANTIATE_TEST_SUITE_P(Codes, StatusEvent, ::testing::Values("200", "500", ""));

TEST_F(EventDispatch, StatusMayBeTheNameAlone) {
    dispatch({"status"});

    EXPECT_JOURNAL(managerLog(4000, "onZUVEvent", "zuv service alive: %s - %s\n", "", ""), notifiedAll());
}

// Everything else goes to an object.

TEST_F(EventDispatch, RoutesByTheObjectIdentifier) {
    const auto object = registeredObject("movie");
    const auto other = registeredObject("other");

    dispatch({"started", "200", "session", "movie", "", "", "url"});

    EXPECT_EQ(object->localURL(), "url");
    EXPECT_EQ(other->localURL(), "");
}

TEST_F(EventDispatch, RoutesWithoutTheManagersLock) {
    const auto object = registeredObject("movie");
    object->m_state = State::Starting;
    watch(manager.m_mutex, "manager");
    bool heldDuringCallback = true;
    duringCallback = [&] { heldDuringCallback = isHeld(manager.m_mutex); };

    dispatch({"started", "200", "session", "movie", "", "", "url"});

    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "url")), 1u);
    EXPECT_FALSE(heldDuringCallback);
}

TEST_F(EventDispatch, LooksTheObjectUpUnderTheLock) {
    watch(manager.m_mutex, "manager");

    dispatch({"started", "200", "session", "movie"});

    EXPECT_JOURNAL(locked("manager"), unlocked("manager"), noObjectFor("started", "200", "movie"));
}

TEST_F(EventDispatch, CallsBackOnTheDeliveringThread) {
    const auto object = registeredObject("movie");
    object->m_state = State::Starting;

    bus().deliver({"started", "200", "session", "movie", "", "", "url"});

    EXPECT_EQ(journal().threadOf(calledBack("main", "movie", "url", "url")), bus().deliveryThread());
    EXPECT_NE(bus().deliveryThread(), std::this_thread::get_id());
}

TEST_F(EventDispatch, DropsAnEventForNobody) {
    dispatch({"started", "200", "session", "movie"});

    EXPECT_JOURNAL(noObjectFor("started", "200", "movie"));
}

TEST_F(EventDispatch, DropsAnEventForARemovedObject) {
    registeredObject("movie");
    manager.removeProxyObjectFromCache("movie");
    journal().clear();

    dispatch({"stopped", "500", "session", "movie"});

    EXPECT_JOURNAL(noObjectFor("stopped", "500", "movie"));
}

TEST_F(EventDispatch, TellsIdentifiersApartByCase) {
    registeredObject("movie");

    dispatch({"started", "200", "session", "Movie"});

    EXPECT_JOURNAL(noObjectFor("started", "200", "Movie"));
}

TEST_F(EventDispatch, TellsNamesApartByCase) {
    dispatch({"Created", "200", "session", "movie"});
    dispatch({"STATUS", "200", "session", "movie"});

    EXPECT_TRUE(manager.m_createdObjectIds.empty());
    EXPECT_JOURNAL(noObjectFor("Created", "200", "movie"), noObjectFor("STATUS", "200", "movie"));
}

// Lists that end early, or late: what is behind the end reads as empty.

class ListOfAnyLength : public EventDispatch, public ::testing::WithParamInterface<std::size_t> {
protected:
    static Strings event(const char* name) {
        Strings parameters = {name, "200", "session", "movie"};
        parameters.resize(GetParam(), "more");
        return parameters;
    }
    /// What is read at this place of such an event.
    static const char* read(std::size_t field, const char* value) { return field < GetParam() ? value : ""; }
};

class CreatedOfAnyLength : public ListOfAnyLength {};

TEST_P(CreatedOfAnyLength, ReadsAsEmptyBehindItsEnd) {
    dispatch(event("created"));

    EXPECT_EQ(manager.m_createdObjectIds, Strings{read(3, "movie")});
    EXPECT_EQ(journal().lines().front(),
              managerLog(1, "onZUVEvent", "New Created Object: %s - %s\n", read(2, "session"), read(3, "movie")));
}

INSTANTIATE_TEST_SUITE_P(Lengths, CreatedOfAnyLength, ::testing::Values(3, 12));

class StatusOfAnyLength : public ListOfAnyLength {};

TEST_P(StatusOfAnyLength, ReadsAsEmptyBehindItsEnd) {
    dispatch(event("status"));

    EXPECT_JOURNAL(managerLog(4000, "onZUVEvent", "zuv service alive: %s - %s\n", read(2, "session"), read(3, "movie")),
                   notifiedAll());
}

INSTANTIATE_TEST_SUITE_P(Lengths, StatusOfAnyLength, ::testing::Values(2, 3, 12));

class OtherOfAnyLength : public ListOfAnyLength {};

TEST_P(OtherOfAnyLength, ReadsAsEmptyBehindItsEnd) {
    dispatch(event("other"));

    EXPECT_JOURNAL(noObjectFor("other", read(1, "200"), read(3, "movie")));
}

INSTANTIATE_TEST_SUITE_P(Lengths, OtherOfAnyLength, ::testing::Values(1, 2, 3, 12));

TEST_F(EventDispatch, DropsAnEmptyList) {
    dispatch({});

    EXPECT_JOURNAL(noObjectFor("", "", ""));
}

TEST_F(EventDispatch, GivesAnEmptyListToTheObjectWithoutIdentifier) {
    registeredObject("");

    dispatch({});

    EXPECT_JOURNAL();
}

TEST_F(EventDispatch, KeepsTheObjectAliveWhileItHandlesItsEvent) {
    auto object = registeredObject("movie");
    object->m_state = State::Starting;
    duringCallback = [&] {
        manager.m_proxyObjects.clear();
        object.reset();
    };

    dispatch({"started", "200", "session", "movie", "", "", "url"});

    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "url")), 1u);
}

TEST_F(EventDispatch, LeavesEveryLockFreeWhenTheApplicationThrows) {
    const auto object = registeredObject("movie");
    object->m_state = State::Starting;
    duringCallback = [] { throw 1; };

    EXPECT_THROW(dispatch({"started", "200", "session", "movie", "", "", "url"}), int);

    EXPECT_FALSE(isHeld(manager.m_mutex));
    EXPECT_FALSE(isHeld(object->m_mutex));
}

// The neutral event

class NeutralEvent : public EventDispatch {};

TEST_F(NeutralEvent, IsPublishedWithTenEntries) {
    bus().result = -1;

    manager.initializeZUVEvent();

    EXPECT_JOURNAL(managerLog(4000, "initializeZUVEvent", "initializeZUVEvent.\n"),
                   "bus: publish on tovik.sl2.vstr.videoplayer.zuv.event 10 "
                   "[\"unknown\", \"\", \"\", \"\", \"\", \"\", \"\", \"\", \"\", \"\"]");
}

TEST_F(NeutralEvent, MakesTheConnectionWhenThereIsNone) {
    manager.m_modelAccess.reset();
    journal().clear();

    manager.initializeZUVEvent();

    EXPECT_JOURNAL(neutralEventPublished().front(), busLine("connection made"), busLine("initialize"),
                   neutralEventPublished().back());
}

TEST_F(NeutralEvent, IsNotPublishedWithoutAccess) {
    loseAccess();

    manager.initializeZUVEvent();

    EXPECT_JOURNAL_LINES(
        joined({{managerLog(4000, "initializeZUVEvent", "initializeZUVEvent.\n")}, noAccess("initializeZUVEvent")}));
}

TEST_F(NeutralEvent, IsDroppedWhenTheBusDeliversItBack) {
    bus().onPublish = [](const std::string&, const Strings& values) { bus().deliver(values); };

    manager.initializeZUVEvent();

    EXPECT_EQ(journal().lines().back(), noObjectFor("unknown", "", ""));
}

TEST_F(NeutralEvent, TakesNoLock) {
    watch(manager.m_mutex, "manager");

    manager.initializeZUVEvent();

    EXPECT_EQ(journal().count(locked("manager")), 0u);
}

// Lookups

class Lookup : public ManagerTest {};

TEST_F(Lookup, FindsARegisteredObjectWithoutALogLine) {
    const std::shared_ptr<ZUVMediaProxyInterface> object = registeredObject("movie");
    watch(manager.m_mutex, "manager");

    EXPECT_EQ(manager.findObjectById("movie"), object);

    EXPECT_JOURNAL(locked("manager"), unlocked("manager"));
}

TEST_F(Lookup, FindsNothingUnderAnotherIdentifier) {
    registeredObject("movie");

    EXPECT_EQ(manager.findObjectById("movi"), nullptr);

    EXPECT_JOURNAL();
}

TEST_F(Lookup, KnowsNoRemoteObjectIdentifier) {
    registeredObject("movie");

    EXPECT_EQ(manager.getRemoteObjectId("movie"), "");
    EXPECT_EQ(manager.getRemoteObjectId(""), "");

    EXPECT_TRUE(manager.m_remoteObjectIds.empty());
}

TEST_F(Lookup, KnowsNoRemoteObjectIdentifierOfAnAnnouncedObjectEither) {
    Strings created = {"created", "200", "session", "movie"};

    manager.onZUVEvent(created);
    manager.createNewZUVMediaProxy("movie");

    EXPECT_TRUE(manager.m_remoteObjectIds.empty());
}

TEST_F(Lookup, ReadsTheTableOfRemoteObjectIdentifiersWithoutALock) {
    manager.m_remoteObjectIds["movie"] = "remote";
    watch(manager.m_mutex, "manager");

    EXPECT_EQ(manager.getRemoteObjectId("movie"), "remote");

    EXPECT_JOURNAL();
}

} // namespace
} // namespace velmora::test
