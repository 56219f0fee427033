// A program whose callback makes a call that the library does not allow: starts a title, and calls in the callback the
// operation that the argument names. Prints the identifier of its proxy, and the number of the callback's thread, which
// it names "delivery".
//
//     callback_mistake OPERATION|getObjectById|nothing
#include "support/awaiting.h"
#include "zuv_media_proxy.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <iostream>
#include <map>
#include <string>

using namespace velmora;

namespace {

std::shared_ptr<ZUVMediaProxyInterface> proxy;
std::string mistake;
std::atomic<bool> hasReturned{false};

void call() {
    static const std::map<std::string, std::function<void()>> kCalls = {
        {"id", [] { static_cast<void>(proxy->id()); }},
        {"localURL", [] { static_cast<void>(proxy->localURL()); }},
        {"getState", [] { static_cast<void>(proxy->getState()); }},
        {"start", [] { proxy->start("other", 1); }},
        {"stop", [] { proxy->stop(); }},
        {"pause", [] { proxy->pause(); }},
        {"seek", [] { proxy->seek(1.0, ""); }},
        {"preload", [] { proxy->preload(1.0, "other", "", ""); }},
        {"localAdURL", [] { static_cast<void>(proxy->localAdURL()); }},
        {"getAdState", [] { static_cast<void>(proxy->getAdState()); }},
        {"startAd", [] { proxy->startAd("other", 1); }},
        {"stopAd", [] { proxy->stopAd(); }},
        {"preloadAd", [] { proxy->preloadAd("other", ""); }},
        {"getObjectById", [] { static_cast<void>(ZUVMediaProxyInterface::getObjectById("some")); }},
        {"nothing", [] {}},
    };
    kCalls.at(mistake)();
}

} // namespace

// By name in the stack.
extern "C" __attribute__((visibility("default"))) void onMainVideoOfTheMistake(std::string, std::string, std::string) {
    pthread_setname_np(pthread_self(), "delivery");
    std::cout << "thread " << gettid() << std::endl;
    call();
    hasReturned = true;
}

int main(int, char** arguments) {
    mistake = arguments[1];
    ZUVMediaProxyManagerInterface& manager = *requestZUVMediaProxy();
    manager.setZUVCallback(onMainVideoOfTheMistake);
    proxy = manager.createNewZUVMediaProxy();
    std::cout << "proxy " << proxy->id() << std::endl;
    proxy->start("film", 1);
    return eventually([] { return hasReturned.load(); }) ? 0 : 1;
}
