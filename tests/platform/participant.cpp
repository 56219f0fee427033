#include "platform/participant.h"

namespace velmora::platform_test {

int Participant::readPatiently(const std::string& topic, Event& value) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    int result = access.read(topic, value);
    while (result != 0 && std::chrono::steady_clock::now() < deadline)
        result = access.read(topic, value);
    return result;
}

bool Participant::awaitValue(const std::string& topic, const Event& value) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    Event current;
    while (access.read(topic, current) != 0 || current != value)
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
    return true;
}

} // namespace velmora::platform_test
