// The fixtures of the client's tests. Time is virtual, random bytes are numbered and shared memory is the
// test's own from the first line of every test on.
#ifndef ZUV_TESTS_CLIENT_CLIENT_TEST_H
#define ZUV_TESTS_CLIENT_CLIENT_TEST_H

#include "client/event_region.h"
#include "client/failing_calls.h"
#include "client/journal.h"
#include "client/recording_bus.h"
#include "client/recording_log.h"
#include "client/runtime_replacements.h"
#include "client/topics.h"
#include "client/virtual_time.h"
#include "client/watched_mutexes.h"
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

/// Called within every call of either callback; what it throws reaches the client.
extern std::function<void()> duringCallback;

/// What getInstance() gives the client's other classes, in place of the process's manager; may be null.
extern std::optional<ZUVMediaProxyManager*> managerToGive;

/// Nothing of the client exists yet.
class PlatformTest : public ::testing::Test {
protected:
    PlatformTest();
    ~PlatformTest() override;
};

/// The manager exists, has both callbacks, and the journal begins behind its construction.
class ManagerTest : public PlatformTest {
protected:
    ManagerTest();
    /// Nothing that the manager does leaves its mutex locked.
    ~ManagerTest() override;

    std::shared_ptr<ZUVMediaProxyObject> registeredObject(const std::string& id);
    /// Maps the region, which then exists and is all zero, without a trace in the journal.
    void mapRegion();
    /// The same, with the manager in synchronous mode as after a synchronous creation.
    void enterSynchronousMode();
    /// Takes the connection away, and every new one as soon as it is made.
    void loseAccess();

    ZUVMediaProxyManager& manager;

private:
    std::vector<std::shared_ptr<IZuvModelAccess>> m_lostAccesses;
};

/// Names a case of a parameterised test after its field `name`.
inline constexpr auto caseName = [](const auto& testCase) { return std::string(testCase.param.name); };

/// What the journal tells of a synchronous or asynchronous request that finds no connection.
std::vector<std::string> noAccess(const char* function);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_CLIENT_TEST_H
