// What programs that were compiled against the classes rely on: the order of virtual operations, the order
// and the types of the fields, and the signatures.
#include "client/client_test.h"
#include "zuv_media_manager_interface_impl.h"
#include "zuv_media_proxy.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmora::test {
namespace {

/// The place of a virtual operation in its class's table, from the pointer's form in the common C++ ABI.
template <typename Class, typename Function>
std::size_t slotOf(Function Class::*operation) {
    struct {
        std::ptrdiff_t pointer;
        std::ptrdiff_t adjustment;
    } form;
    static_assert(sizeof form == sizeof operation);
    std::memcpy(&form, &operation, sizeof form);
#if defined(__arm__) || defined(__aarch64__)
    constexpr std::ptrdiff_t virtualMark = 0;
#else
    constexpr std::ptrdiff_t virtualMark = 1;
#endif
    return static_cast<std::size_t>(form.pointer - virtualMark) / sizeof(void*);
}

using Proxy = std::shared_ptr<ZUVMediaProxyInterface>;
using Manager = ZUVMediaProxyManagerInterface;
using Object = ZUVMediaProxyInterface;

TEST(ClassLayout, ManagerInterfaceSlots) {
    EXPECT_EQ(slotOf(static_cast<Proxy (Manager::*)()>(&Manager::createNewZUVMediaProxy)), 0u);
    EXPECT_EQ(slotOf(static_cast<Proxy (Manager::*)(std::string)>(&Manager::createNewZUVMediaProxy)), 1u);
    EXPECT_EQ(slotOf(static_cast<Proxy (Manager::*)()>(&Manager::createNewZUVMediaProxySync)), 2u);
    EXPECT_EQ(slotOf(static_cast<Proxy (Manager::*)(std::string)>(&Manager::createNewZUVMediaProxySync)), 3u);
    EXPECT_EQ(slotOf(&Manager::setZUVCallback), 4u);
    EXPECT_EQ(slotOf(&Manager::setZUVAdCallback), 5u);
}

TEST(ClassLayout, ProxyInterfaceSlots) {
    // The destructor takes slots 0 and 1.
    EXPECT_EQ(slotOf(&Object::id), 2u);
    EXPECT_EQ(slotOf(&Object::localURL), 3u);
    EXPECT_EQ(slotOf(&Object::getState), 4u);
    EXPECT_EQ(slotOf(&Object::start), 5u);
    EXPECT_EQ(slotOf(&Object::stop), 6u);
    EXPECT_EQ(slotOf(&Object::pause), 7u);
    EXPECT_EQ(slotOf(&Object::seek), 8u);
    EXPECT_EQ(slotOf(&Object::preload), 9u);
    EXPECT_EQ(slotOf(&Object::localAdURL), 10u);
    EXPECT_EQ(slotOf(&Object::getAdState), 11u);
    EXPECT_EQ(slotOf(&Object::startAd), 12u);
    EXPECT_EQ(slotOf(&Object::stopAd), 13u);
    EXPECT_EQ(slotOf(&Object::preloadAd), 14u);
}

TEST(ClassLayout, ManagerSlots) {
    EXPECT_EQ(slotOf(&ZUVMediaProxyManager::onModelAccessStateChanged), 0u);
    EXPECT_EQ(slotOf(&ZUVMediaProxyManager::onZUVEvent), 1u);
}

static_assert(std::has_virtual_destructor_v<ZUVMediaProxyInterface>);
static_assert(!std::has_virtual_destructor_v<ZUVMediaProxyManagerInterface>);
static_assert(!std::has_virtual_destructor_v<ZUVMediaProxyManagerInterfaceImpl>);
static_assert(!std::has_virtual_destructor_v<ZUVMediaProxyManager>);
static_assert(std::is_base_of_v<ZUVMediaProxyManagerInterface, ZUVMediaProxyManagerInterfaceImpl>);
static_assert(std::is_convertible_v<ZUVMediaProxyManager*, ZUVModelAccessClient*>);
static_assert(std::is_convertible_v<ZUVMediaProxyObject*, ZUVMediaProxyInterface*>);
static_assert(std::is_abstract_v<ZUVMediaProxyInterface> && std::is_abstract_v<ZUVMediaProxyManagerInterface>);
// No data of its own: nothing but the pointer to its table.
static_assert(sizeof(ZUVMediaProxyManagerInterface) == sizeof(void*));
static_assert(sizeof(ZUVMediaProxyInterface) == sizeof(void*));
static_assert(sizeof(ZUVModelAccessClient) == sizeof(void*));
// One field, and a destructor that does nothing.
static_assert(sizeof(ZUVMediaProxyManagerInterfaceImpl) == 2 * sizeof(void*));
static_assert(std::is_trivially_destructible_v<ZUVMediaProxyManagerInterfaceImpl>);

/// The manager's table and its fields, so that a field too many shows in the size.
struct ManagerFields {
    void* table;
    ZUVCallback callbacks[2];
    std::map<std::string, std::string> remoteObjectIds;
    std::vector<std::string> createdObjectIds;
    std::map<std::string, std::shared_ptr<ZUVMediaProxyObject>> proxyObjects;
    std::mutex mutex;
    std::shared_ptr<IZuvModelAccess> modelAccess;
    std::condition_variable condition;
    bool syncMode;
    char eventBuffer[4096];
    char* eventMemory;
};
static_assert(sizeof(ZUVMediaProxyManager) == sizeof(ManagerFields));

/// The places of fields, which must rise in the order in which they are given.
template <typename... Fields>
void expectOrder(const Fields&... fields) {
    const std::vector<const void*> places = {&fields...};
    for (std::size_t i = 1; i < places.size(); ++i)
        EXPECT_LT(places[i - 1], places[i]) << "fields " << i - 1 << " and " << i;
}

class FieldOrder : public ManagerTest {};

TEST_F(FieldOrder, OfTheManager) {
    expectOrder(manager.m_callback, manager.m_adCallback, manager.m_remoteObjectIds, manager.m_createdObjectIds,
                manager.m_proxyObjects, manager.m_mutex, manager.m_modelAccess, manager.m_condition, manager.m_syncMode,
                manager.m_eventBuffer, manager.m_eventMemory);
}

TEST_F(FieldOrder, OfTheObject) {
    ZUVMediaProxyObject object("movie");

    expectOrder(object.m_state, object.m_adState, object.m_seekPosition, object.m_id, object.m_localURL,
                object.m_localAdURL, object.m_reserved, object.m_definitions, object.m_manager, object.m_mutex);
}

/// Readers and writers without a lock see whole values: the processor reads and writes the field at once, which it can
/// only where the field is aligned for it.
template <typename Field>
void expectAtomicAccess(const Field& field) {
    static_assert(std::atomic_ref<Field>::is_always_lock_free);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&field) % std::atomic_ref<Field>::required_alignment, 0u);
}

class UnguardedFields : public ManagerTest {};

TEST_F(UnguardedFields, OfTheManagerAreReadAndWrittenAtOnce) {
    expectAtomicAccess(manager.m_callback);
    expectAtomicAccess(manager.m_adCallback);
    expectAtomicAccess(manager.m_syncMode);
    expectAtomicAccess(manager.m_eventMemory);
}

TEST_F(UnguardedFields, OfTheObjectAreReadAndWrittenAtOnce) {
    ZUVMediaProxyObject object("movie");

    expectAtomicAccess(object.m_seekPosition);
}

template <auto Field, typename Type>
constexpr bool fieldIs = false;
template <typename Class, typename Type, Type Class::*Field>
constexpr bool fieldIs<Field, Type> = true;

static_assert(fieldIs<&ZUVMediaProxyManager::m_callback, ZUVCallback>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_adCallback, ZUVCallback>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_remoteObjectIds, std::map<std::string, std::string>>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_createdObjectIds, std::vector<std::string>>);
static_assert(
    fieldIs<&ZUVMediaProxyManager::m_proxyObjects, std::map<std::string, std::shared_ptr<ZUVMediaProxyObject>>>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_mutex, std::mutex>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_modelAccess, std::shared_ptr<IZuvModelAccess>>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_condition, std::condition_variable>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_syncMode, bool>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_eventBuffer, char[4096]>);
static_assert(fieldIs<&ZUVMediaProxyManager::m_eventMemory, char*>);

static_assert(fieldIs<&ZUVMediaProxyObject::m_state, std::int32_t>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_adState, std::int32_t>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_seekPosition, double>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_id, std::string>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_localURL, std::string>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_localAdURL, std::string>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_reserved, std::string>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_definitions, std::string>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_manager, ZUVMediaProxyManager*>);
static_assert(fieldIs<&ZUVMediaProxyObject::m_mutex, std::mutex>);
static_assert(fieldIs<&ZUVMediaProxyManagerInterfaceImpl::m_impl, ZUVMediaProxyManager*>);

static_assert(std::is_same_v<ZUVCallback, void (*)(std::string, std::string, std::string)>);
static_assert(std::is_same_v<decltype(&requestZUVMediaProxy), ZUVMediaProxyManagerInterface* (*)()>);
static_assert(
    std::is_same_v<decltype(&ZUVMediaProxyManagerInterface::getInstance), ZUVMediaProxyManagerInterface* (*)()>);
static_assert(std::is_same_v<decltype(&ZUVMediaProxyInterface::create), Proxy (*)()>);
static_assert(std::is_same_v<decltype(&ZUVMediaProxyInterface::getObjectById), Proxy (*)(std::string)>);
static_assert(std::is_same_v<decltype(&ZUVMediaProxyManager::getInstance), ZUVMediaProxyManager* (*)()>);

/// Whether an operation has this signature; whether it is const makes no difference to its callers.
template <auto Operation, typename Signature>
constexpr bool operationIs = false;
template <typename Class, typename Result, typename... Arguments, Result (Class::*Operation)(Arguments...)>
constexpr bool operationIs<Operation, Result(Arguments...)> = true;
template <typename Class, typename Result, typename... Arguments, Result (Class::*Operation)(Arguments...) const>
constexpr bool operationIs<Operation, Result(Arguments...)> = true;

static_assert(operationIs<&ZUVMediaProxyInterface::id, std::string()>);
static_assert(operationIs<&ZUVMediaProxyInterface::localURL, std::string()>);
static_assert(operationIs<&ZUVMediaProxyInterface::localAdURL, std::string()>);
static_assert(operationIs<&ZUVMediaProxyInterface::getState, int()>);
static_assert(operationIs<&ZUVMediaProxyInterface::getAdState, int()>);
static_assert(operationIs<&ZUVMediaProxyInterface::start, void(std::string, int)>);
static_assert(operationIs<&ZUVMediaProxyInterface::startAd, void(std::string, int)>);
static_assert(operationIs<&ZUVMediaProxyInterface::stop, void()>);
static_assert(operationIs<&ZUVMediaProxyInterface::stopAd, void()>);
static_assert(operationIs<&ZUVMediaProxyInterface::pause, void()>);
static_assert(operationIs<&ZUVMediaProxyInterface::seek, void(double, std::string)>);
static_assert(operationIs<&ZUVMediaProxyInterface::preload, void(double, std::string, std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyInterface::preloadAd, void(std::string, std::string)>);

static_assert(operationIs<&ZUVMediaProxyObject::onZUVEvent, void(std::vector<std::string>&)>);
static_assert(operationIs<&ZUVMediaProxyObject::onDefinitionsChanged, void(std::string)>);
static_assert(operationIs<&ZUVMediaProxyObject::onMediaStarted, void(std::string)>);
static_assert(operationIs<&ZUVMediaProxyObject::onMediaStopped, void()>);
static_assert(operationIs<&ZUVMediaProxyObject::onMediaStartedFailed, void(std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyObject::onMediaStoppedFailed, void(std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyObject::onMediaSeeked, void()>);
static_assert(operationIs<&ZUVMediaProxyObject::onMediaSeekedFailed, void(std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyObject::onAdMediaStarted, void(std::string)>);
static_assert(operationIs<&ZUVMediaProxyObject::onAdMediaStopped, void()>);
static_assert(operationIs<&ZUVMediaProxyObject::onAdMediaStartedFailed, void(std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyObject::onAdMediaStoppedFailed, void(std::string, std::string)>);

static_assert(operationIs<&ZUVMediaProxyManager::createModelAccess, void()>);
static_assert(operationIs<&ZUVMediaProxyManager::setZUVCallback, void(ZUVCallback)>);
static_assert(operationIs<&ZUVMediaProxyManager::setZUVAdCallback, void(ZUVCallback)>);
static_assert(operationIs<&ZUVMediaProxyManager::notifyDefinitionsChanged, void(const std::string&, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::notifyURLChanged, void(const std::string&, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::notifyAdURLChanged, void(const std::string&, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestStartZUVService, void()>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectPause, void(const std::string&)>);
static_assert(operationIs<&ZUVMediaProxyManager::checkZUVEventMemory, int()>);
static_assert(operationIs<&ZUVMediaProxyManager::readZUVEventMemory, std::vector<std::string>()>);
static_assert(operationIs<&ZUVMediaProxyManager::readZUVEvent, std::vector<std::string>()>);
static_assert(operationIs<&ZUVMediaProxyManager::onZUVEvent, void(std::vector<std::string>&)>);
static_assert(operationIs<&ZUVMediaProxyManager::initializeZUVEvent, void()>);
static_assert(operationIs<&ZUVMediaProxyManager::findObjectById, Proxy(std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::getRemoteObjectId, std::string(std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::cacheProxyObject, void(std::shared_ptr<ZUVMediaProxyObject>)>);
static_assert(
    operationIs<&ZUVMediaProxyManager::findProxyObjectFromCache, std::shared_ptr<ZUVMediaProxyObject>(std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::removeProxyObjectFromCache, void(std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::generateUUID, std::string()>);
static_assert(operationIs<&ZUVMediaProxyManager::getNextSessionId, std::string()>);
static_assert(operationIs<&ZUVMediaProxyManager::waitRequestRemoteObjectCompleted, int(std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestCreateRemoteObject, void(std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestCreateRemoteObjectSync, int(std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::createNewProxyId, std::string()>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectStart,
                          void(const std::string&, std::string, int, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectStartSync,
                          int(const std::string&, std::string, int, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectStop, void(const std::string&, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectStopSync, int(const std::string&, std::string)>);
static_assert(
    operationIs<&ZUVMediaProxyManager::requestRemoteObjectSeek, void(const std::string&, double, std::string)>);
static_assert(
    operationIs<&ZUVMediaProxyManager::requestRemoteObjectSeekSync, int(const std::string&, double, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectPreload,
                          void(const std::string&, double, std::string, std::string, std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectPreloadSync,
                          int(const std::string&, double, std::string, std::string, std::string, std::string)>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectInspect, void()>);
static_assert(operationIs<&ZUVMediaProxyManager::requestRemoteObjectInspectSync, int()>);
static_assert(operationIs<&ZUVMediaProxyManager::checkZUVServiceAlive, bool()>);

} // namespace
} // namespace velmora::test
