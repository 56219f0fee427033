// A program that uses traced_platform as its argument says, and puts out what it sees of that; the same with the
// recorder as without it.
#include "zuv_model_access.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace velmora;

namespace {

using Texts = std::vector<std::string>;

class Client final : public ZUVModelAccessClient {
public:
    void onModelAccessStateChanged() override { std::cout << "state\n"; }
    void onZUVEvent(Texts& event) override {
        std::cout << "event " << event.front() << '\n';
        if (whenEvent)
            whenEvent(event);
    }

    std::function<void(Texts&)> whenEvent;
};

void everyOperation() {
    Client client;
    ZUVModelAccess access(&client);
    std::cout << access.initialize() << ' ' << access.start() << ' ' << access.startService() << '\n';
    Texts values = {"old"};
    std::cout << access.read("topic", values) << ' ' << (errno == ENODATA) << ' ' << values.at(0) << '\n';
    std::cout << access.publish("topic", {"a", "", "b"}) << '\n';
}

void twoConnections() {
    Client client;
    auto first = std::make_unique<ZUVModelAccess>(&client);
    const std::unique_ptr<IZuvModelAccess> second = std::make_unique<ZUVModelAccess>(&client);
    second->publish("topic", {"2"});
    first->publish("topic", {"1"});
    first.reset();
    ZUVModelAccess third(&client);
    third.publish("topic", {"3"});
}

void nested() {
    Client client;
    ZUVModelAccess access(&client);
    client.whenEvent = [&](Texts& event) {
        if (event.front() == "outer")
            access.publish("topic", {"inner"});
        event.clear();
    };
    access.publish("topic", {"outer"});
}

void exception() {
    Client client;
    ZUVModelAccess access(&client);
    client.whenEvent = [](Texts&) { throw std::runtime_error("from the callback"); };
    try {
        access.publish("topic", {"thrown"});
    } catch (const std::runtime_error& error) {
        std::cout << error.what() << '\n';
    }
    Texts values;
    try {
        access.read("throw", values);
    } catch (const std::runtime_error& error) {
        std::cout << error.what() << '\n';
    }
}

void endInCallback() {
    Client client;
    std::unique_ptr<ZUVModelAccess> access = std::make_unique<ZUVModelAccess>(&client);
    client.whenEvent = [&](Texts&) { access.reset(); };
    access->publish("topic", {"last"});
    ZUVModelAccess(&client).publish("topic", {"another"});
}

void withoutClient() {
    ZUVModelAccess access(nullptr);
    std::cout << access.start() << '\n';
}

void forked() {
    Client client;
    ZUVModelAccess access(&client);
    access.publish("topic", {"before"});
    std::cout << std::flush;
    const pid_t child = fork();
    access.publish("topic", {child == 0 ? "in the fork" : "in the parent"});
    if (child != 0)
        waitpid(child, nullptr, 0);
}

} // namespace

int main(int, char** arguments) {
    const std::map<std::string, void (*)()> uses = {{"everyOperation", everyOperation},
                                                    {"twoConnections", twoConnections},
                                                    {"nested", nested},
                                                    {"exception", exception},
                                                    {"endInCallback", endInCallback},
                                                    {"withoutClient", withoutClient},
                                                    {"forked", forked}};
    uses.at(arguments[1])();
}
