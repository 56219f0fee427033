#include "service_event.h"

#include <cstddef>

namespace velmora::engine {

namespace {

std::string entryAt(const std::vector<std::string>& values, std::size_t position) {
    return position < values.size() ? values[position] : std::string();
}

MediaErrorKind kindOf(const std::string& code) {
    if (code == "404")
        return MediaErrorKind::NotFound;
    if (code == "415")
        return MediaErrorKind::Unplayable;
    return MediaErrorKind::Refused;
}

} // namespace

ServiceEvent::ServiceEvent(const std::vector<std::string>& values)
    : name(entryAt(values, 0)), code(entryAt(values, 1)), request(entryAt(values, 2)), object(entryAt(values, 3)),
      localUrl(entryAt(values, 6)), definitions(entryAt(values, 7)), detail(entryAt(values, 8)),
      kind(entryAt(values, 9)) {}

MediaError ServiceEvent::error() const {
    return {kindOf(code), code, detail};
}

} // namespace velmora::engine
