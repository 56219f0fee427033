#include "service_link.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <random>

namespace velmora::engine {

namespace {

constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
constexpr std::size_t kCommandEntries = 11;
constexpr std::size_t kCommandName = 0;
constexpr std::size_t kCommandRequest = 2;

} // namespace

std::string ServiceLink::newRequest() {
    static_assert(std::random_device::max() == 0xFFFFFFFF);
    std::random_device random;
    std::string text = "ses-";
    for (int i = 0; i < 4; ++i) {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%08X", random());
        text += digits;
    }
    return text;
}

void ServiceLink::send(const std::string& command, const std::string& request) {
    std::vector<std::string> entries(kCommandEntries);
    entries[kCommandName] = command;
    entries[kCommandRequest] = request;
    m_access.publish(kCommandTopic, std::move(entries));
}

} // namespace velmora::engine
