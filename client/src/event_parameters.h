// The layout of the service's events: lists of texts whose meaning depends on their position.
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

/// The number of parameters of an event in shared memory. An event from the bus has as many as its sender gave it.
inline constexpr int kEventParameterCount = 11;

/// The only result code that means success.
inline constexpr const char* kSuccessCode = "200";

/// Returns a copy of one parameter, or "" if the list is too short.
inline std::string parameterAt(const std::vector<std::string>& params, std::size_t field) {
    return field < params.size() ? params[field] : std::string();
}

} // namespace velmora

#endif // ZUV_EVENT_PARAMETERS_H
