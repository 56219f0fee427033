// Compiled on its own, as every C++ standard that the public header promises: nothing but the header is
// needed to use all of it. With DELETE_THE_MANAGER it must not compile.
#include "zuv_media_proxy.h"

void useEverything(velmora::ZUVCallback callback) {
    velmora::ZUVMediaProxyManagerInterface* manager = requestZUVMediaProxy();
    manager = velmora::ZUVMediaProxyManagerInterface::getInstance();
    manager->setZUVCallback(callback);
    manager->setZUVAdCallback(nullptr);
    if (!velmora::ZUVMediaProxyManagerInterface::checkZUVServiceAlive())
        return;
    std::shared_ptr<velmora::ZUVMediaProxyInterface> proxy = manager->createNewZUVMediaProxy();
    proxy = manager->createNewZUVMediaProxy("id");
    proxy = manager->createNewZUVMediaProxySync();
    proxy = manager->createNewZUVMediaProxySync("id");
    proxy = velmora::ZUVMediaProxyInterface::create();
    proxy = velmora::ZUVMediaProxyInterface::getObjectById("id");
    proxy->start(proxy->localURL(), 1);
    proxy->startAd(proxy->localAdURL(), proxy->getState() + proxy->getAdState());
    proxy->seek(1.0, proxy->id());
    proxy->preload(1.0, "", "", "");
    proxy->preloadAd("", "");
    proxy->pause();
    proxy->stop();
    proxy->stopAd();
#ifdef DELETE_THE_MANAGER
    delete manager;
#endif
}
