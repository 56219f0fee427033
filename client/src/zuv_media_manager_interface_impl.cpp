#include "zuv_media_manager_interface_impl.h"

#include "zuv_log.h"
#include "zuv_media_proxy_manager.h"
#include "zuv_media_proxy_object.h"

#include <utility>

namespace velmora {

// The first call makes the instance. No lock is needed, because the first call must not run on two threads at once. The
// instance is never deleted, because applications hold the plain pointer and the library has no shut-down.
ZUVMediaProxyManagerInterface* ZUVMediaProxyManagerInterface::getInstance() {
    static ZUVMediaProxyManagerInterface* instance = nullptr;
    if (instance == nullptr)
        instance = new ZUVMediaProxyManagerInterfaceImpl();
    return instance;
}

bool ZUVMediaProxyManagerInterface::checkZUVServiceAlive() {
    return ZUVMediaProxyManager::getInstance()->checkZUVServiceAlive();
}

ZUVMediaProxyManagerInterfaceImpl::ZUVMediaProxyManagerInterfaceImpl() : m_impl(ZUVMediaProxyManager::getInstance()) {
    if (m_impl == nullptr)
        ZUV_LOG(kFailure, "Fail to get ZUVMediaProxyManager.\n");
}

std::shared_ptr<ZUVMediaProxyInterface> ZUVMediaProxyManagerInterfaceImpl::createNewZUVMediaProxy() {
    ZUV_LOG(kProgress, "called.\n");
    return hasManager(__func__) ? m_impl->createNewZUVMediaProxy() : nullptr;
}

std::shared_ptr<ZUVMediaProxyInterface> ZUVMediaProxyManagerInterfaceImpl::createNewZUVMediaProxy(std::string id) {
    ZUV_LOG(kProgress, "called.\n");
    return hasManager(__func__) ? m_impl->createNewZUVMediaProxy(std::move(id)) : nullptr;
}

std::shared_ptr<ZUVMediaProxyInterface> ZUVMediaProxyManagerInterfaceImpl::createNewZUVMediaProxySync() {
    ZUV_LOG(kProgress, "called.\n");
    return hasManager(__func__) ? m_impl->createNewZUVMediaProxySync() : nullptr;
}

std::shared_ptr<ZUVMediaProxyInterface> ZUVMediaProxyManagerInterfaceImpl::createNewZUVMediaProxySync(std::string id) {
    ZUV_LOG(kProgress, "called.\n");
    return hasManager(__func__) ? m_impl->createNewZUVMediaProxySync(std::move(id)) : nullptr;
}

// The two setters log at the level of failures, so that the line shows on devices that log nothing below that level.
void ZUVMediaProxyManagerInterfaceImpl::setZUVCallback(ZUVCallback callback) {
    ZUV_LOG(kFailure, "called.\n");
    if (hasManager(__func__))
        m_impl->setZUVCallback(callback);
}

void ZUVMediaProxyManagerInterfaceImpl::setZUVAdCallback(ZUVCallback callback) {
    ZUV_LOG(kFailure, "called.\n");
    if (hasManager(__func__))
        m_impl->setZUVAdCallback(callback);
}

bool ZUVMediaProxyManagerInterfaceImpl::hasManager(const char* function) const {
    if (m_impl != nullptr)
        return true;
    ZUV_LOG_AS(function, kFailure, "m_impl is NULL.\n");
    return false;
}

std::shared_ptr<ZUVMediaProxyInterface> ZUVMediaProxyInterface::create() {
    return ZUVMediaProxyManager::getInstance()->createNewZUVMediaProxy();
}

std::shared_ptr<ZUVMediaProxyInterface> ZUVMediaProxyInterface::getObjectById(std::string id) {
    return ZUVMediaProxyManager::getInstance()->findObjectById(std::move(id));
}

} // namespace velmora

velmora::ZUVMediaProxyManagerInterface* requestZUVMediaProxy() {
    using velmora::kProgress;
    ZUV_LOG(kProgress, "get proxy manager interface.\n");
    return velmora::ZUVMediaProxyManagerInterface::getInstance();
}
