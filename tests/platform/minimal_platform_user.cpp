// Player and media service in one process, on the minimal platform: the client starts a medium, and the
// command is read and answered on a connection of the program's own. Succeeds when the callback has brought
// the answer's URL.
#include "zuv_media_proxy.h"
#include "zuv_model_access.h"

#include <chrono>
#include <cstdio>
#include <future>
#include <string>
#include <vector>

using namespace velmora;

namespace {

constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";
constexpr const char* kLocalUrl = "http://127.0.0.1/film";

std::promise<std::string> announcedUrl;

void onNotification(std::string, std::string changed, std::string value) {
    if (changed == "url")
        announcedUrl.set_value(value);
}

int fail(const char* reason) {
    std::fprintf(stderr, "minimal_platform_user: %s\n", reason);
    return 1;
}

} // namespace

int main() {
    auto* const manager = requestZUVMediaProxy();
    manager->setZUVCallback(onNotification);
    const auto proxy = manager->createNewZUVMediaProxy("object-1");
    proxy->start("film", 1);

    ZUVModelAccess service(nullptr);
    std::vector<std::string> command;
    if (service.initialize() < 0 || service.read(kCommandTopic, command) < 0)
        return fail("no command on the bus");
    if (command.size() != 11 || command[0] != "start" || command[3] != "object-1" || command[6] != "film")
        return fail("another command on the bus");
    service.publish(kEventTopic,
                    {"started", "200", command[2], command[3], "", "", kLocalUrl, "", "", "main_video", ""});

    auto url = announcedUrl.get_future();
    if (url.wait_for(std::chrono::seconds(10)) != std::future_status::ready)
        return fail("no callback");
    return url.get() == kLocalUrl ? 0 : fail("another URL");
}
