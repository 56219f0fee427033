// A program that uses traced_platform as its argument says, and puts out what it sees of that; the same with the
// recorder as without it.
#include "zuv_model_access.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
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

void failingConstructor() {
    Client client;
    setenv("TRACED_PLATFORM_FAILS", "", 1);
    try {
        const ZUVModelAccess access(&client);
    } catch (const std::runtime_error& error) {
        std::cout << error.what() << '\n';
    }
    ZUVModelAccess(&client).publish("topic", {"works"});
}

void useWhileItEnds() {
    Client first;
    Client other;
    setenv("TRACED_PLATFORM_ENDS_LATE", "", 1);
    auto access = std::make_unique<ZUVModelAccess>(&first);
    std::unique_ptr<ZUVModelAccess> another;
    ZUVModelAccess* const ending = access.get();
    first.whenEvent = [&](Texts& event) {
        if (event.front() != "at the end")
            return;
        another = std::make_unique<ZUVModelAccess>(&other);
        ending->publish("topic", {"by the first"});
        another->publish("topic", {"by the other"});
    };
    access.reset();
    unsetenv("TRACED_PLATFORM_ENDS_LATE");
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
    const std::map<std::string, void (*)()> uses = {{"endInCallback", endInCallback},
                                                    {"everyOperation", everyOperation},
                                                    {"exception", exception},
                                                    {"failingConstructor", failingConstructor},
                                                    {"forked", forked},
                                                    {"nested", nested},
                                                    {"twoConnections", twoConnections},
                                                    {"useWhileItEnds", useWhileItEnds},
                                                    {"withoutClient", withoutClient}};
    uses.at(arguments[1])();
}
