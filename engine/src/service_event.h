// The service's events, as a session reads them: the positions of their entries, and errors from their result codes.
#ifndef ZUV_ENGINE_SERVICE_EVENT_H
#define ZUV_ENGINE_SERVICE_EVENT_H

#include "zuv_media_session.h"

#include <string>
#include <vector>

namespace velmora::engine {

/// One event. An entry that the list does not have is empty.
struct ServiceEvent {
    explicit ServiceEvent(const std::vector<std::string>& values);

    bool succeeded() const { return code == "200"; }
    /// The error that the result code of a failure means.
    MediaError error() const;

    std::string name;
    std::string code;
    std::string request; ///< the identifier of the command that this answers
    std::string object;
    std::string localUrl;
    std::string definitions;
    std::string detail;
    std::string kind;
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_SERVICE_EVENT_H
