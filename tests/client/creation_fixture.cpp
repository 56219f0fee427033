#include "client/creation_fixture.h"

namespace velmora::test {

void Creation::answerOverBus(int nth, nanoseconds delay, const std::string& id) {
    bus().onCommand("create", nth, [delay, id](const Strings& command) {
        virtualTime().after(delay, [event = createdEvent(command[2], id)] { bus().deliver(event); });
    });
}

void Creation::answerInMemory(int nth, const std::string& id) {
    bus().onCommand("create", nth,
                    [id](const Strings& command) { eventRegion().writeEvent(createdEvent(command[2], id)); });
}

void Creation::wakeWithStatus(nanoseconds delay) {
    virtualTime().after(delay, [] { bus().deliver({"status", "200", "other", ""}); });
}

Strings createdEvent(const std::string& session, const std::string& id) {
    return {"created", "200", session, id};
}

std::string syncCreateLogged() {
    return managerLog(4000, "requestCreateRemoteObjectSync", "Create  RemoteObject sync.\n");
}

std::string asyncCreateLogged() {
    return managerLog(4000, "requestCreateRemoteObject", "Create   RemoteObject.\n");
}

std::string createCommand(const std::string& session) {
    return command({{0, "create"}, {2, session}});
}

std::vector<std::string> handedOver(const std::string& session, const std::string& id) {
    return {managerLog(1, "onZUVEvent", "New Created Object: %s - %s\n", session.c_str(), id.c_str()), notifiedAll()};
}

std::vector<std::string> answeredSyncCreate(const std::string& session, const std::string& id) {
    return joined({neutralEventPublished(),
                   {syncCreateLogged(), createCommand(session)},
                   answeredWait(createdEvent(session, id)),
                   handedOver(session, id)});
}

std::vector<std::string> unansweredSyncCreate(const std::string& session) {
    return joined(
        {neutralEventPublished(), {syncCreateLogged(), createCommand(session)}, unansweredWait(session, "created")});
}

} // namespace velmora::test
