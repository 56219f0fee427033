// An application that a test steers: it reads a command per line from standard input, and writes an answer per line:
//
//     create | create-sync      = IDENTIFIER
//     start URL | startAd URL   = STATE LOCAL-URL, of its newest proxy
//     stop                      = the same
//     state                     = the same
//
// Its callbacks write lines, too: "! main IDENTIFIER url VALUE", "! ad ...". It ends with its input.
#include "zuv_media_proxy.h"

#include <cstdio>
#include <iostream>
#include <sstream>

using namespace velmora;

namespace {

// One write for each line, since callbacks run on another thread.
void tell(const std::string& line) {
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

void onMainVideo(std::string id, std::string changed, std::string value) {
    tell("! main " + id + " " + changed + " " + value);
}

void onAdvertisement(std::string id, std::string changed, std::string value) {
    tell("! ad " + id + " " + changed + " " + value);
}

void obey(const std::string& word, const std::string& url, std::shared_ptr<ZUVMediaProxyInterface>& proxy) {
    ZUVMediaProxyManagerInterface& manager = *requestZUVMediaProxy();
    if (word == "create" || word == "create-sync") {
        proxy = word == "create" ? manager.createNewZUVMediaProxy() : manager.createNewZUVMediaProxySync();
        return tell("= " + proxy->id());
    }
    if (word == "start")
        proxy->start(url, 1);
    else if (word == "startAd")
        proxy->startAd(url, 1);
    else if (word == "stop")
        proxy->stop();
    tell("= " + std::to_string(proxy->getState()) + " " + proxy->localURL());
}

} // namespace

int main() {
    requestZUVMediaProxy()->setZUVCallback(onMainVideo);
    requestZUVMediaProxy()->setZUVAdCallback(onAdvertisement);
    std::shared_ptr<ZUVMediaProxyInterface> proxy;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string word;
        std::string url;
        words >> word >> url;
        obey(word, url, proxy);
    }
}
