// The events that tell clients about their commands and media, and how they are encoded.
#ifndef ZUV_DESKTOP_SERVICE_PROTOCOL_EVENT_H
#define ZUV_DESKTOP_SERVICE_PROTOCOL_EVENT_H

#include "service/protocol/command.h"
#include "service/protocol/result_code.h"

#include <json/forwards.h>

#include <exception>
#include <string>
#include <vector>

namespace velmora::desktop {

/// The answer to a command, or news that no command asked for.
struct Event {
    std::string name;
    ResultCode code = ResultCode::Ok;
    std::string session; ///< of the command that this answers; empty for news
    std::string objectId;
    std::string localUrl;    ///< where the started medium's bytes can be fetched
    std::string definitions; ///< the medium's qualities, see definitions.h
    std::string detail;      ///< for people
    std::string kind;
};

/// The answer to a command that succeeded. Its results, such as the local URL, are for the caller to add.
Event answerTo(const Command& command);

/// The answer to a command that failed. An exception other than CommandFailure counts as ResultCode::Internal.
Event failureOf(const Command& command, const std::exception& failure);

/// The event that refuses a list which is not a command; no client takes it for an answer it waits for. It repeats the
/// list's session, object and kind, each cut to kLongestIdentifier bytes.
Event refusalOf(const std::vector<std::string>& values, const CommandFailure& failure);

/// The event as the list of 11 strings that goes over the bus.
std::vector<std::string> toValues(const Event& event);

/// The list as a JSON object with the members "0" to "10".
Json::Value toJsonObject(const std::vector<std::string>& values);

/// The text of toJsonObject(), which goes into shared memory. Bytes outside ASCII stay as they are, so that bus and
/// shared memory carry the same event even when a client's identifiers are not UTF-8.
std::string toJson(const std::vector<std::string>& values);

/// The event, shortened so that its JSON text has at most `limit` bytes: first the detail is cut, as far as needed; if
/// that is not enough, the definitions are left out entirely, because a part of them could not be parsed.
Event fitted(Event event, std::size_t limit);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_PROTOCOL_EVENT_H
