// Asks the media service for a sign of life, again and again: as often as each number on stdin says. Answers each
// number with the nanoseconds that it took. recording_overhead compares such processes.
#include "bus/topic_message.h"
#include "zuv_model_access.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <semaphore>
#include <string>
#include <vector>

using namespace velmora;

namespace {

const std::vector<std::string> kInspection = {"inspect", "", "ses-1", "", "", "", "", "", "", "", ""};

class Client final : public ZUVModelAccessClient {
public:
    void onModelAccessStateChanged() override {}
    void onZUVEvent(std::vector<std::string>&) override { m_events.release(); }

    void awaitEvent() { m_events.acquire(); }
    bool awaitEvent(std::chrono::milliseconds limit) { return m_events.try_acquire_for(limit); }

private:
    std::counting_semaphore<> m_events{0};
};

} // namespace

int main() {
    Client client;
    ZUVModelAccess access(&client);
    if (access.initialize() < 0 || access.start() < 0 || access.startService() < 0)
        return EXIT_FAILURE;
    const auto ask = [&access] { access.publish(desktop::kCommandTopic, kInspection); };
    do
        ask();
    while (!client.awaitEvent(std::chrono::seconds(1)));
    std::cout << "ready" << std::endl;
    for (int count = 0; std::cin >> count;) {
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i) {
            ask();
            client.awaitEvent();
        }
        std::cout << (std::chrono::steady_clock::now() - begin).count() << std::endl;
    }
    return EXIT_SUCCESS;
}
