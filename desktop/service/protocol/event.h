#ifndef ZUV_DESKTOP_SERVICE_PROTOCOL_EVENT_H
#define ZUV_DESKTOP_SERVICE_PROTOCOL_EVENT_H

#include "service/protocol/command.h"
#include "service/protocol/result_code.h"

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// What the service tells its clients: the answer to a command, or news of its own.
struct Event {
    std::string name;
    ResultCode code = ResultCode::Ok;
    std::string session; ///< of the command that this answers; empty for news
    std::string objectId;
    std::string localUrl;    ///< where the started medium's bytes can be fetched
    std::string definitions; ///< the medium's qualities, see definitions.h
    std::string detail;      ///< for people
    std::string kind;
    std::optional<CommandName> command; ///< that this answers; none for news. Goes nowhere.
};

/// The successful answer to a command, without what only carrying it out can tell.
Event answerTo(const Command& command);

/// The answer to a command that failed; what is no CommandFailure is the service's own fault.
Event failureOf(const Command& command, const std::exception& failure);

/// The answer to a list that is no command. No client takes it for the answer to something that it asked. What
/// the list has at the places of session, object and kind is repeated, as far as an identifier may be long.
Event refusalOf(const std::vector<std::string>& values, const CommandFailure& failure);

/// The event as the list of 11 strings that goes over the bus.
std::vector<std::string> toValues(const Event& event);

/// The list as the text that goes into shared memory: a JSON object with the members "0" to "10". Bytes
/// outside ASCII pass unchanged, so that both channels bring the same event, also where a client sent identifiers
/// that are no UTF-8.
std::string toJson(const std::vector<std::string>& values);

/// The event, its JSON text no longer than `limit` bytes: the detail is shortened as far as needed, and when
/// that does not help, the definitions are left out as well, since a torn list of them would help nobody.
Event fitted(Event event, std::size_t limit);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_PROTOCOL_EVENT_H
