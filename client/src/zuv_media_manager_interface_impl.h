// The manager interface that applications use: it logs, and forwards to the proxy manager.
#ifndef ZUV_MEDIA_MANAGER_INTERFACE_IMPL_H
#define ZUV_MEDIA_MANAGER_INTERFACE_IMPL_H

#include "zuv_media_proxy.h"

namespace velmora {

class ZUVMediaProxyManager;

class ZUVMediaProxyManagerInterfaceImpl final : public ZUVMediaProxyManagerInterface {
public:
    /// Gets the proxy manager, which connects to the bus if this is its first use.
    ZUVMediaProxyManagerInterfaceImpl();

    std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxy() override;
    std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxy(std::string id) override;
    std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxySync() override;
    std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxySync(std::string id) override;
    void setZUVCallback(ZUVCallback callback) override;
    void setZUVAdCallback(ZUVCallback callback) override;

private:
    /// Returns false, and logs a line in the name of the operation `function`, if there is no manager to forward to.
    bool hasManager(const char* function) const;

    ZUVMediaProxyManager* m_impl; ///< not owned: the manager is never destroyed
};

} // namespace velmora

#endif // ZUV_MEDIA_MANAGER_INTERFACE_IMPL_H
