// The data races that the contract leaves open: no lock is taken there. Each test makes its two accesses one after the
// other, so that it is safe, but without synchronisation, so that ThreadSanitizer reports them unless tests/tsan.supp
// suppresses the report. ctest runs each test with the suppressions and without.
#include "client/contention_platform.h"
#include "zuv_media_proxy_manager.h"
#include "zuv_media_proxy_object.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace velmora::test {
namespace {

class OpenRace : public ::testing::Test {
protected:
    OpenRace() : manager(*ZUVMediaProxyManager::getInstance()) {}

    ZUVMediaProxyManager& manager;
};

TEST_F(OpenRace, EventBuffer) {
    leaveInMemory(startedEvent("movie", "url"));
    manager.createNewZUVMediaProxySync("movie");
    Counter read;
    Strings first;
    Strings second;

    runTogether([] {}, {[&] {
                            first = manager.readZUVEventMemory();
                            read.add();
                        },
                        [&] {
                            read.await(1);
                            second = manager.readZUVEventMemory();
                        }});

    EXPECT_EQ(first, startedEvent("movie", "url"));
    EXPECT_EQ(second, first);
}

TEST_F(OpenRace, RegistrationOfAnAnnouncedProxy) {
    Counter commands;
    Counter created;
    platform().onCommand = [&](const Strings&) { commands.add(); };
    std::shared_ptr<ZUVMediaProxyObject> proxy;

    const ThreadRecord all = total(runTogether(
        [&] {
            commands.await(1);
            deliver(createdEvent("movie"));
            created.await(1);
            deliver(startedEvent("movie", "url"));
        },
        {[&] {
            proxy = manager.createNewZUVMediaProxy();
            created.add();
        }}));

    EXPECT_EQ(proxy->id(), "movie");
    EXPECT_EQ(proxy->getState(), ZUVMediaProxyState::Started);
    EXPECT_EQ(all.failures, Strings());
}

// The second answer is a failure, whose replay takes no lock: after it the list is read.
TEST_F(OpenRace, NewestAnnouncedIdentifier) {
    leaveInMemory({"unknown"});
    int commands = 0;
    platform().onCommand = [&](const Strings& command) {
        leaveInMemory(createdEvent("movie", command[2], ++commands == 1 ? "200" : "500"));
    };
    Counter replayed;
    Counter delivered;
    platform().onLine = [&](const std::string& line) {
        if (line.find("Create Failed") == std::string::npos)
            return;
        replayed.add();
        delivered.await(1);
    };
    std::shared_ptr<ZUVMediaProxyObject> proxy;

    runTogether(
        [&] {
            replayed.await(1);
            deliver(createdEvent("newest"));
            delivered.add();
        },
        {[&] { proxy = manager.createNewZUVMediaProxySync(); }});

    EXPECT_EQ(proxy->id(), "newest");
}

// The service's memory is missing: the list is emptied and the service started.
TEST_F(OpenRace, ForgottenIdentifiers) {
    deliver(createdEvent("forgotten"));
    platform().onCommand = [](const Strings& command) { leaveInMemory(createdEvent("", command[2], "500")); };
    Counter started;
    Counter delivered;
    platform().onStartService = [&] {
        leaveInMemory({"unknown"});
        started.add();
        delivered.await(1);
    };
    std::shared_ptr<ZUVMediaProxyObject> proxy;

    runTogether(
        [&] {
            started.await(1);
            deliver(createdEvent("movie"));
            delivered.add();
        },
        {[&] { proxy = manager.createNewZUVMediaProxySync(); }});

    EXPECT_EQ(proxy->id(), "movie");
}

} // namespace
} // namespace velmora::test
