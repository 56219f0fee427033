// A client for the tests of the launcher: starts itself, which is no medium, and prints what comes of it.
#include "desktop/service/service_client.h"

#include <cstdio>

int main(int, char** argv) {
    velmora::desktop::ServiceClient client;
    client.activateService();
    const std::string object = client.createObject();
    const auto answer = client.request("start", object, "advertisement", argv[0]);
    std::printf("%s %s %s\n", answer.name().c_str(), answer.code().c_str(), answer.detail().c_str());
}
