// A program whose callback makes a call that the library does not allow: starts a title, and calls in the callback what
// the argument says.
//
//     callback_mistake getState|stop|start|getObjectById|nothing
#include "support/awaiting.h"
#include "zuv_media_proxy.h"

#include <atomic>
#include <iostream>
#include <string>

using namespace velmora;

namespace {

std::shared_ptr<ZUVMediaProxyInterface> proxy;
std::string mistake;
std::atomic<bool> hasReturned{false};

void call() {
    if (mistake == "getState")
        static_cast<void>(proxy->getState());
    else if (mistake == "stop")
        proxy->stop();
    else if (mistake == "start")
        proxy->start("other", 1);
    else if (mistake == "getObjectById")
        static_cast<void>(ZUVMediaProxyInterface::getObjectById("some"));
}

} // namespace

// By name in the stack.
extern "C" __attribute__((visibility("default"))) void onMainVideoOfTheMistake(std::string, std::string, std::string) {
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
