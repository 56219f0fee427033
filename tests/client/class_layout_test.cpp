// What the recorded interface in tests/abi cannot hold of the classes: the types of the fields and their alignment, and
// the signatures of operations that are neither virtual nor exported. Sizes, slots and offsets are recorded there.
#include "client/client_test.h"
#include "zuv_media_manager_interface_impl.h"
#include "zuv_media_proxy.h"

#include <atomic>
#include <cstdint>
#include <type_traits>

namespace velmora::test {
namespace {

using Proxy = std::shared_ptr<ZUVMediaProxyInterface>;

static_assert(std::is_abstract_v<ZUVMediaProxyInterface> && std::is_abstract_v<ZUVMediaProxyManagerInterface>);
// A destructor that does nothing.
static_assert(std::is_trivially_destructible_v<ZUVMediaProxyManagerInterfaceImpl>);

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

template <typename Class, typename Type>
using FieldOf = Type Class::*;
template <auto Field, typename Type>
constexpr bool fieldIs = false;
template <typename Class, typename Type, FieldOf<Class, Type> Field>
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
static_assert(std::is_same_v<decltype(&ZUVMediaProxyManagerInterface::checkZUVServiceAlive), bool (*)()>);
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
