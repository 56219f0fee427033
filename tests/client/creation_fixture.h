// What the tests of creation share: a service that answers "create", and how its requests read in the
// journal.
#ifndef ZUV_TESTS_CLIENT_CREATION_FIXTURE_H
#define ZUV_TESTS_CLIENT_CREATION_FIXTURE_H

#include "client/client_test.h"
#include "client/completion_wait.h"

#include <string>
#include <vector>

namespace velmora::test {

class Creation : public ManagerTest {
protected:
    /// The service announces `id` over the bus this long after the nth "create".
    static void answerOverBus(int nth, nanoseconds delay, const std::string& id);
    /// The service leaves the answer in shared memory before the nth "create" returns.
    static void answerInMemory(int nth, const std::string& id);
    /// An event that wakes every waiter and announces nothing.
    static void wakeWithStatus(nanoseconds delay);
};

Strings createdEvent(const std::string& session, const std::string& id);

std::string syncCreateLogged();
std::string asyncCreateLogged();
std::string createCommand(const std::string& session);
/// What the manager makes of a successful "created" event.
std::vector<std::string> handedOver(const std::string& session, const std::string& id);
/// All of a synchronous "create".
std::vector<std::string> answeredSyncCreate(const std::string& session, const std::string& id);
std::vector<std::string> unansweredSyncCreate(const std::string& session);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_CREATION_FIXTURE_H
