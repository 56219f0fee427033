// What client and service exchange, stated once more on the side of the tests: the topics of the bus, and how an event
// reads in shared memory.
#ifndef ZUV_TESTS_SUPPORT_SERVICE_PROTOCOL_H
#define ZUV_TESTS_SUPPORT_SERVICE_PROTOCOL_H

#include <cstddef>
#include <string>
#include <vector>

namespace velmora {

inline constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
inline constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";

/// The JSON text of an event whose parameters need no escaping.
inline std::string eventText(const std::vector<std::string>& parameters) {
    std::string text = "{";
    for (std::size_t i = 0; i < parameters.size(); ++i)
        text += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":\"" + parameters[i] + "\"";
    return text + "}";
}

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_SERVICE_PROTOCOL_H
