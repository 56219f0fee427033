// The event parameter list: what the service's events carry, by position.
#ifndef ZUV_EVENT_PARAMETERS_H
#define ZUV_EVENT_PARAMETERS_H

#include <cstddef>
#include <string>
#include <vector>

namespace velmora {

namespace EventField {
inline constexpr std::size_t Name = 0;
inline constexpr std::size_t Code = 1;
inline constexpr std::size_t SessionId = 2;
inline constexpr std::size_t ObjectId = 3;
inline constexpr std::size_t LocalURL = 6;
inline constexpr std::size_t Definitions = 7;
inline constexpr std::size_t Detail = 8;
inline constexpr std::size_t MediaKind = 9;
} // namespace EventField

/// An event read from shared memory has this many parameters; one from the bus as many as its sender gave it.
inline constexpr int kEventParameterCount = 11;

/// The one result code that means success.
inline constexpr const char* kSuccessCode = "200";

/// A copy of one parameter, empty where the list is too short.
inline std::string parameterAt(const std::vector<std::string>& params, std::size_t field) {
    return field < params.size() ? params[field] : std::string();
}

} // namespace velmora

#endif // ZUV_EVENT_PARAMETERS_H
