#include "client/completion_wait.h"

#include "client/event_region.h"

namespace velmora::test {

namespace {

constexpr const char* kWait = "waitRequestRemoteObjectCompleted";

} // namespace

std::string waitEntered(const std::string& session, const std::string& name) {
    return managerLog(4000, kWait, "enter  id:%s, name:%s\n", session.c_str(), name.c_str());
}

std::string waitPolled(const std::string& session, const std::string& name) {
    return managerLog(4000, kWait, " id:%s, name:%s\n", session.c_str(), name.c_str());
}

std::string waitUsed(int milliseconds) {
    return managerLog(4000, kWait, " used time: %d/%d\n", milliseconds, 250);
}

std::string waitTimedOut() {
    return managerLog(1000, kWait, "Task timeout: %d/%d\n", 250, 250);
}

std::vector<std::string> answeredWait(const Strings& answer) {
    return joined({{waitEntered(answer.at(2), answer.at(0))}, regionRead(answer), {waitUsed(0)}});
}

std::vector<std::string> unansweredWait(const std::string& session, const std::string& name) {
    const std::vector<std::string> read = {
        managerLog(4000, "readZUVEventMemory", "buf: %s\n", ""),
        managerLog(1000, "readZUVEventMemory", "Fail to parse json string:%s.\n", "")};
    std::vector<std::string> lines = joined({{waitEntered(session, name)}, read});
    for (int sleeps = 0; sleeps < 5; ++sleeps)
        lines = joined({lines, {slept(kPollInterval)}, read, {waitPolled("", "")}});
    return joined({lines, {waitTimedOut()}});
}

} // namespace velmora::test
