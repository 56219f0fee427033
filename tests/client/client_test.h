// The fixtures of the client's tests, and the lines that many of them expect in the journal. In every test time is
// virtual, random bytes are numbered and shared memory is private.
#ifndef ZUV_TESTS_CLIENT_CLIENT_TEST_H
#define ZUV_TESTS_CLIENT_CLIENT_TEST_H

#include "client/event_region.h"
#include "client/journal.h"
#include "client/recording_platform.h"
#include "client/replaced_runtime.h"
#include "support/service_protocol.h"
#include "zuv_media_proxy_manager.h"
#include "zuv_media_proxy_object.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

namespace State = ZUVMediaProxyState;

// The application's callbacks: each call goes into the journal.
void mainCallback(std::string id, std::string key, std::string value);
void adCallback(std::string id, std::string key, std::string value);

/// Called within every call of either callback; an exception reaches the client.
extern std::function<void()> duringCallback;

/// What getInstance() returns to the client's other classes in place of the process's manager; may be null.
extern std::optional<ZUVMediaProxyManager*> managerToGive;

/// Nothing of the client exists yet.
class PlatformTest : public ::testing::Test {
protected:
    PlatformTest();
    ~PlatformTest() override;
};

/// The manager exists and has both callbacks; the journal begins after its construction.
class ManagerTest : public PlatformTest {
protected:
    ManagerTest();
    /// Checks that the manager's mutex is free.
    ~ManagerTest() override;

    std::shared_ptr<ZUVMediaProxyObject> registeredObject(const std::string& id);
    /// Creates the region, all zero, and maps it. Leaves nothing in the journal.
    void mapRegion();
    /// Does the same and puts the manager in synchronous mode, as a synchronous creation does.
    void enterSynchronousMode();
    /// Takes away the connection, and each later one as soon as it is made.
    void loseAccess();

    ZUVMediaProxyManager& manager;

private:
    std::vector<std::shared_ptr<IZuvModelAccess>> m_lostAccesses;
};

/// The proxy "movie" exists and is registered.
class ObjectTest : public ManagerTest {
protected:
    ObjectTest() : object(registeredObject("movie")) {}
    /// Checks that the proxy's mutex is free.
    ~ObjectTest() override { EXPECT_FALSE(isHeld(object->m_mutex)); }

    const std::shared_ptr<ZUVMediaProxyObject> object;
};

/// With a service that answers "create".
class Creation : public ManagerTest {
protected:
    /// The service announces `id` over the bus this long after the nth "create".
    static void answerOverBus(int nth, nanoseconds delay, const std::string& id);
    /// The service leaves the answer in shared memory before the nth "create" returns.
    static void answerInMemory(int nth, const std::string& id);
    /// An event that wakes every waiter and announces nothing.
    static void wakeWithStatus(nanoseconds delay);
    /// Every publish takes a millisecond, so that elapsed times lie clearly on one side of a limit.
    static void letPublishesTakeAMillisecond();
};

/// Names a case of a parameterised test after its field `name`.
inline constexpr auto caseName = [](const auto& testCase) { return std::string(testCase.param.name); };

// ---- Expected lines of what many tests do

/// All of a request, synchronous or asynchronous, without a connection.
std::vector<std::string> noAccess(const char* function);
/// An event whose object is not registered.
std::string noObjectFor(const std::string& name, const std::string& code, const std::string& id);

// Shared memory.

std::string opened();
std::string resized();
std::string mapped();
std::string closed();
std::string unlinked();

/// All of a successful checkZUVEventMemory().
std::vector<std::string> regionChecked();
/// All of a checkZUVEventMemory() without the object.
std::vector<std::string> regionMissing();
/// All of a readZUVEventMemory() before the region is mapped.
std::string regionNotMapped();
/// All of a successful readZUVEventMemory() of a region that holds this text.
std::vector<std::string> regionRead(const std::string& text, const Strings& elevenParameters);
/// The same for a text that eventText() makes.
std::vector<std::string> regionRead(const Strings& parameters);

// The bounded wait for an answer in shared memory.

inline constexpr std::chrono::microseconds kPollInterval(50000);

std::string waitEntered(const std::string& session, const std::string& name);
/// A poll that read another event than the awaited one.
std::string waitPolled(const std::string& session, const std::string& name);
/// @param time in milliseconds.
std::string waitUsed(int time);
std::string waitTimedOut();

/// The whole wait, up to the replay of the answer, when the region holds the answer from the beginning.
std::vector<std::string> answeredWait(const Strings& answer);
/// The whole wait when the region is all zero throughout.
std::vector<std::string> unansweredWait(const std::string& session, const std::string& name);

// Creation.

Strings createdEvent(const std::string& session, const std::string& id);
/// What a service does with a "create": leaves this answer in shared memory.
RecordingBus::CommandAction answersInMemory(const std::string& code, const std::string& id);

std::string syncCreateLogged();
std::string asyncCreateLogged();
std::string createCommand(const std::string& session);
/// All of a successful "created" event.
std::vector<std::string> handedOver(const std::string& session, const std::string& id);
/// All of a synchronous "create".
std::vector<std::string> answeredSyncCreate(const std::string& session, const std::string& id);
std::vector<std::string> unansweredSyncCreate(const std::string& session);
/// The session of the nth attempt of createNewProxyId(). The first session identifier that it generates is never used.
std::string attemptSession(int nth);
std::string attemptEntered();
/// The nth attempt, up to its wait.
std::vector<std::string> attempt(int nth);
/// The nth attempt restarts the service, or gives up.
std::string restarting(int nth);
std::string givingUp(int nth);
/// The construction of a proxy.
std::string objectMade(const std::string& id);

// A proxy's events.

std::string startedLogged(const char* code, const char* detail, const char* url);
std::string currentState(const char* handler, int state);
std::string startFailed(const char* handler, int state);
/// Of the proxy "movie".
std::string stopFailed(const char* handler, const char* code, const char* detail);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_CLIENT_TEST_H
