// The registry of proxies, and the identifiers that the manager makes.
#include "client/client_test.h"

#include <cctype>
#include <new>
#include <set>

namespace velmora::test {
namespace {

class Registry : public ManagerTest {
protected:
    Registry() { journal().clear(); }
    static std::string removed(const char* id) {
        return managerLog(4000, "removeProxyObjectFromCache", "find in cache and remove proxy, id:%s\n", id);
    }
};

TEST_F(Registry, RegistersAnObjectUnderItsIdentifier) {
    const auto object = ZUVMediaProxyObject::create("movie");
    journal().clear();

    manager.cacheProxyObject(object);

    EXPECT_EQ(manager.m_proxyObjects.at("movie"), object);
    EXPECT_EQ(manager.m_proxyObjects.size(), 1u);
    EXPECT_EQ(object.use_count(), 2);
    EXPECT_JOURNAL();
}

TEST_F(Registry, RegistersWithoutTheLock) {
    const auto object = ZUVMediaProxyObject::create("movie");
    journal().clear();
    watch(manager.m_mutex, "manager");

    manager.cacheProxyObject(object);

    EXPECT_JOURNAL();
}

TEST_F(Registry, AsksTheObjectForItsIdentifier) {
    const auto object = ZUVMediaProxyObject::create("movie");
    journal().clear();
    watch(object->m_mutex, "object");

    manager.cacheProxyObject(object);

    EXPECT_JOURNAL(locked("object"), unlocked("object"));
}

TEST_F(Registry, KeepsTheFirstObjectOfAnIdentifier) {
    const auto first = registeredObject("movie");

    const auto second = registeredObject("movie");

    EXPECT_EQ(manager.findProxyObjectFromCache("movie"), first);
    EXPECT_EQ(second.use_count(), 1);
    EXPECT_EQ(manager.m_proxyObjects.size(), 1u);
}

TEST_F(Registry, SaysNothingWhenAnIdentifierIsTaken) {
    registeredObject("movie");
    const auto second = ZUVMediaProxyObject::create("movie");
    journal().clear();

    manager.cacheProxyObject(second);

    EXPECT_JOURNAL();
}

TEST_F(Registry, LooksUpUnderTheLockAndSharesTheObject) {
    const auto object = registeredObject("movie");
    watch(manager.m_mutex, "manager");

    const auto found = manager.findProxyObjectFromCache("movie");

    EXPECT_EQ(found, object);
    EXPECT_EQ(object.use_count(), 3);
    EXPECT_JOURNAL(locked("manager"), unlocked("manager"));
}

TEST_F(Registry, LooksUpOnlyWhenItHasTheLock) {
    const auto object = ZUVMediaProxyObject::create("movie");
    beforeNextLock(manager.m_mutex, [&] { manager.m_proxyObjects.emplace("movie", object); });

    EXPECT_EQ(manager.findProxyObjectFromCache("movie"), object);
}

TEST_F(Registry, FindsNothingThatWasNeverRegistered) {
    watch(manager.m_mutex, "manager");

    EXPECT_EQ(manager.findProxyObjectFromCache("movie"), nullptr);

    EXPECT_TRUE(manager.m_proxyObjects.empty());
    EXPECT_JOURNAL(locked("manager"), unlocked("manager"));
}

TEST_F(Registry, FindsNothingThatWasRemoved) {
    registeredObject("movie");

    manager.removeProxyObjectFromCache("movie");

    EXPECT_EQ(manager.findProxyObjectFromCache("movie"), nullptr);
}

TEST_F(Registry, RemovesWithOneLine) {
    registeredObject("movie");
    registeredObject("other");

    manager.removeProxyObjectFromCache("movie");

    EXPECT_JOURNAL(removed("movie"));
    EXPECT_EQ(manager.m_proxyObjects.size(), 1u);
    EXPECT_TRUE(manager.m_proxyObjects.contains("other"));
}

TEST_F(Registry, RemovesUnderTheLock) {
    registeredObject("movie");
    watch(manager.m_mutex, "manager");

    manager.removeProxyObjectFromCache("movie");

    EXPECT_JOURNAL(locked("manager"), removed("movie"), unlocked("manager"));
}

TEST_F(Registry, RemovingNobodyChangesAndLogsNothing) {
    registeredObject("movie");

    manager.removeProxyObjectFromCache("movi");
    manager.removeProxyObjectFromCache("movie2");
    manager.removeProxyObjectFromCache("Movie");

    EXPECT_JOURNAL();
    EXPECT_TRUE(manager.m_proxyObjects.contains("movie"));
}

TEST_F(Registry, TellsIdentifiersApartBehindAZeroByte) {
    const std::string id("movie\0one", 9);
    const auto object = registeredObject(id);

    manager.removeProxyObjectFromCache("movie");
    manager.removeProxyObjectFromCache(std::string("movie\0two", 9));

    EXPECT_EQ(manager.findProxyObjectFromCache("movie"), nullptr);
    EXPECT_EQ(manager.findProxyObjectFromCache(id), object);
}

TEST_F(Registry, RemovalDestroysAnObjectThatNobodyElseHolds) {
    std::weak_ptr<ZUVMediaProxyObject> object = registeredObject("movie");
    ASSERT_FALSE(object.expired());
    bool aliveWhenLogged = false;
    recordingLog().onLine = [&](const std::string&) { aliveWhenLogged = !object.expired(); };

    manager.removeProxyObjectFromCache("movie");

    EXPECT_TRUE(aliveWhenLogged);
    EXPECT_TRUE(object.expired());
}

TEST_F(Registry, RemovalReleasesTheObjectUnderTheLock) {
    bool heldAtRelease = false;
    const auto noteRelease = [&](ZUVMediaProxyObject*) { heldAtRelease = isHeld(manager.m_mutex); };
    manager.m_proxyObjects["movie"] = std::shared_ptr<ZUVMediaProxyObject>(nullptr, noteRelease);

    manager.removeProxyObjectFromCache("movie");

    EXPECT_TRUE(heldAtRelease);
}

TEST_F(Registry, RemovalLeavesAnObjectToItsOtherOwners) {
    const auto object = registeredObject("movie");

    manager.removeProxyObjectFromCache("movie");

    EXPECT_EQ(object.use_count(), 1);
    EXPECT_EQ(object->id(), "movie");
}

TEST_F(Registry, RemovalWalksAllEntriesInsteadOfLookingTheKeyUp) {
    registeredObject("a");
    registeredObject("b");
    registeredObject("c");
    // Keys twice and out of order, as no operation of the registry could make them: a lookup goes astray
    // here, and a walk that ends at the first entry misses the second.
    const_cast<std::string&>(manager.m_proxyObjects.begin()->first) = "z";
    const_cast<std::string&>(manager.m_proxyObjects.rbegin()->first) = "z";

    manager.removeProxyObjectFromCache("z");

    EXPECT_JOURNAL(removed("z"), removed("z"));
    EXPECT_EQ(manager.m_proxyObjects.size(), 1u);
}

TEST_F(Registry, RemovalReleasesTheLockWhenTheLogThrows) {
    registeredObject("movie");
    recordingLog().onLine = [](const std::string&) { throw std::bad_alloc(); };

    EXPECT_THROW(manager.removeProxyObjectFromCache("movie"), std::bad_alloc);

    EXPECT_FALSE(isHeld(manager.m_mutex));
}

// Identifiers

class Identifiers : public ManagerTest {};

struct UuidCase {
    const char* name;
    UuidBytes bytes;
    const char* text;
};

class UuidText : public ManagerTest, public ::testing::WithParamInterface<UuidCase> {};

TEST_P(UuidText, SwapsTheFirstThreeFieldsAndHasThreeHyphens) {
    fixUuid(GetParam().bytes);

    EXPECT_EQ(manager.generateUUID(), GetParam().text);

    EXPECT_EQ(uuidsDrawn(), 1);
    EXPECT_JOURNAL();
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, UuidText,
    ::testing::Values(
        UuidCase{"Ascending",
                 {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F},
                 "03020100-0504-0706-08090A0B0C0D0E0F"},
        UuidCase{"AllZero", {}, "00000000-0000-0000-0000000000000000"},
        UuidCase{"AllOnes",
                 {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
                 "FFFFFFFF-FFFF-FFFF-FFFFFFFFFFFFFFFF"},
        UuidCase{"HighBits",
                 {0x80, 0x90, 0xA0, 0xB0, 0xC0, 0xD0, 0xE0, 0xF0, 0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8},
                 "B0A09080-D0C0-F0E0-8192A3B4C5D6E7F8"}),
    caseName);

TEST_F(Identifiers, GiveTheMemoryOfTheirTextBack) {
    const std::size_t liveBefore = liveAllocations();

    manager.generateUUID();

    EXPECT_EQ(liveAllocations(), liveBefore);
}

TEST_F(Identifiers, WithoutMemoryForTheTextAreEmpty) {
    failNext(Call::UuidBuffer);

    EXPECT_EQ(manager.generateUUID(), "");

    EXPECT_EQ(uuidsDrawn(), 1);
    EXPECT_JOURNAL(managerLog(1000, "generateUUID", "Fail to allocate buffer.\n"));
}

TEST_F(Identifiers, WithoutMemoryASessionIdentifierIsThePrefixAlone) {
    failNext(Call::UuidBuffer);

    EXPECT_EQ(manager.getNextSessionId(), "ses-");

    EXPECT_JOURNAL(managerLog(1000, "generateUUID", "Fail to allocate buffer.\n"));
}

TEST_F(Identifiers, OfSessionsAreThePrefixAndAUuidText) {
    fixUuid({0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F});
    watch(manager.m_mutex, "manager");

    EXPECT_EQ(manager.getNextSessionId(), "ses-03020100-0504-0706-08090A0B0C0D0E0F");

    EXPECT_JOURNAL();
}

TEST(RandomIdentifiers, HaveTheirFormAndDoNotRepeat) {
    ZUVMediaProxyManager* manager = ZUVMediaProxyManager::getInstance();
    std::set<std::string> seen;

    for (int i = 0; i < 1000; ++i) {
        const std::string id = manager->getNextSessionId();
        ASSERT_EQ(id.size(), 39u) << id;
        ASSERT_TRUE(id.starts_with("ses-")) << id;
        for (std::size_t at = 4; at < id.size(); ++at) {
            const bool hyphen = at == 12 || at == 17 || at == 22;
            const auto c = static_cast<unsigned char>(id[at]);
            ASSERT_TRUE(hyphen ? c == '-' : std::isdigit(c) || (c >= 'A' && c <= 'F')) << id;
        }
        ASSERT_TRUE(seen.insert(id).second) << id;
    }
}

} // namespace
} // namespace velmora::test
