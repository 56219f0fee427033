// Each allocation of each operation, in the client and in the libraries that it uses, fails once.
//
// Each failure in a traced operation runs the destructor of its scope trace. An exception there would end the process,
// so these tests also show that the destructor allocates nothing.
#include "client/operation_under_test.h"

#include <new>

namespace velmora::test {
namespace {

class FailingAllocation : public EveryOperation {};

TEST_P(FailingAllocation, PassesTheExceptionAndLeavesNothingBehind) {
    expectEveryFailureToPass<std::bad_alloc>(Call::New);
}

INSTANTIATE_TEST_SUITE_P(Operations, FailingAllocation, ::testing::ValuesIn(everyOperation()), caseName);

// The text of a UUID: the one failure that the client deals with itself.

class FailingUuidBuffer : public EveryOperation {
protected:
    /// The same with the nth UUID's text missing wherever it appears.
    static Outcome withoutUuid(const Outcome& outcome, int nth) {
        const std::string uuid = sessionId(nth).substr(std::string("ses-").size());
        Outcome result = outcome;
        result.result = replaced(result.result, uuid, "");
        for (std::string& line : result.journal)
            line = replaced(line, uuid, "");
        return result;
    }
};

TEST_P(FailingUuidBuffer, LeavesTheTextEmptyAndChangesNothingElse) {
    const std::string complaint = managerLog(1000, "generateUUID", "Fail to allocate buffer.\n");
    forEachFailure([&](const Operation& operation, int nth, const Outcome& expected) {
        OwnClient client(GetParam().mode);
        operation.prepare(client);
        client.beginCall();
        failNth(Call::UuidBuffer, nth);

        Outcome outcome = outcomeOf<std::bad_alloc>(operation, client);

        const bool failed = stopFailing(Call::UuidBuffer);
        EXPECT_EQ(std::erase(outcome.journal, complaint), failed ? 1u : 0u);
        expectSame(outcome, failed ? withoutUuid(expected, nth) : expected);
        EXPECT_FALSE(client.holdsALock());
        return failed;
    });
}

INSTANTIATE_TEST_SUITE_P(Operations, FailingUuidBuffer, ::testing::ValuesIn(everyOperation()), caseName);

// What lives as long as the process: made by the first call that succeeds.

class FailingConstruction : public PlatformTest {
protected:
    /// Makes the singleton with the first, then with the second ... allocation failing, until none fails.
    template <typename Singleton>
    static Singleton* makeAtLast(Singleton* (*make)()) {
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE("failure " + std::to_string(nth));
            Singleton* const made = tryToMake(make, nth);
            RecordProperty("injected", nth - 1);
            if (made != nullptr)
                return made;
            // Once more, now that the test has all that it keeps itself.
            const std::size_t liveBefore = liveAllocations();
            EXPECT_EQ(tryToMake(make, nth), nullptr);
            EXPECT_EQ(liveAllocations(), liveBefore) << "something is left behind";
        }
    }

private:
    template <typename Singleton>
    static Singleton* tryToMake(Singleton* (*make)(), int nthFails) {
        journal().clear();
        failNth(Call::New, nthFails);
        try {
            Singleton* const made = make();
            EXPECT_FALSE(stopFailing(Call::New));
            return made;
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(stopFailing(Call::New));
        }
        EXPECT_EQ(journal().count(busLine("connection made")), journal().count(busLine("connection deleted")));
        return nullptr;
    }
};

TEST_F(FailingConstruction, OfTheManagerLeavesNothingBehindAndIsTriedAgain) {
    ZUVMediaProxyManager* const manager = makeAtLast(&ZUVMediaProxyManager::getInstance);

    EXPECT_EQ(journal().linesOf("bus"), (Strings{busLine("connection made"), busLine("initialize"), busLine("start")}));
    EXPECT_EQ(manager, ZUVMediaProxyManager::getInstance());
    EXPECT_FALSE(isHeld(manager->m_mutex));
}

TEST_F(FailingConstruction, OfTheInterfaceLeavesNothingBehindAndIsTriedAgain) {
    ZUVMediaProxyManagerInterface* const interface = makeAtLast(&requestZUVMediaProxy);

    EXPECT_EQ(journal().linesOf("bus"), (Strings{busLine("connection made"), busLine("initialize"), busLine("start")}));
    EXPECT_EQ(interface, requestZUVMediaProxy());
}

TEST_F(FailingConstruction, OfAManagerOnAnAdoptedConnectionCannotBe) {
    const auto connection = std::make_shared<AdoptedConnection>();
    failEvery(Call::New);

    const ZUVMediaProxyManager manager(connection);

    EXPECT_FALSE(stopFailing(Call::New));
}

// The URL goes only once the identifier is there.

struct Forgetting {
    const char* name;
    std::function<void(ZUVMediaProxyObject&)> call;
};

class FailingIdentifierCopy : public PlatformTest, public ::testing::WithParamInterface<Forgetting> {};

TEST_P(FailingIdentifierCopy, LeavesTheUrl) {
    OwnClient client(Mode::Asynchronous);
    client.proxy->m_localURL = OwnClient::kUrl;
    client.proxy->m_localAdURL = OwnClient::kUrl;
    client.beginCall();

    EXPECT_THROW(GetParam().call(*client.proxy), std::bad_alloc);

    EXPECT_EQ(client.proxy->localURL(), OwnClient::kUrl);
    EXPECT_EQ(client.proxy->localAdURL(), OwnClient::kUrl);
}

void failAtOnce() {
    failNext(Call::New);
}

/// A preload first publishes the neutral event.
void failBehindTheNextPublish() {
    bus().onPublish = [](const std::string&, const Strings&) { failNext(Call::New); };
}

INSTANTIATE_TEST_SUITE_P(Operations, FailingIdentifierCopy,
                         ::testing::Values(Forgetting{"Stop",
                                                      [](auto& proxy) {
                                                          failAtOnce();
                                                          proxy.stop();
                                                      }},
                                           Forgetting{"StopAd",
                                                      [](auto& proxy) {
                                                          failAtOnce();
                                                          proxy.stopAd();
                                                      }},
                                           Forgetting{"Preload",
                                                      [](auto& proxy) {
                                                          failBehindTheNextPublish();
                                                          proxy.preload(0.0, "", "", "");
                                                      }},
                                           Forgetting{"PreloadAd",
                                                      [](auto& proxy) {
                                                          failBehindTheNextPublish();
                                                          proxy.preloadAd("", "");
                                                      }}),
                         caseName);

// Where an exception would end the process.

TEST(Destruction, OfAManagerWithProxiesAllocatesNothing) {
    virtualTime().begin();
    {
        OwnClient client(Mode::Asynchronous);
        client.manager.m_createdObjectIds = {OwnClient::kCreatedId};
        failEvery(Call::New);
    }
    EXPECT_FALSE(stopFailing(Call::New));
    virtualTime().end();
}

} // namespace
} // namespace velmora::test
