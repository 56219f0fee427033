// The result codes of events, and the exception that carries one.
#ifndef ZUV_DESKTOP_SERVICE_PROTOCOL_RESULT_CODE_H
#define ZUV_DESKTOP_SERVICE_PROTOCOL_RESULT_CODE_H

#include <stdexcept>
#include <string>

namespace velmora::desktop {

/// The result code of an event. The client only compares it with 200; the others are for whoever reads its log.
enum class ResultCode : int {
    Ok = 200,
    BadCommand = 400,  ///< not a command, or one whose kind, position or URL is invalid
    NotFound = 404,    ///< no such object, or the medium is missing or cannot be reached
    WrongState = 409,  ///< no medium of this kind is started
    Unplayable = 415,  ///< the medium exists, but cannot be played or sought
    Interrupted = 499, ///< it took long, and a later command made it pointless
    Internal = 500,    ///< the service itself failed
};

/// The reason why a command failed; its answer carries the code, and what() as the readable detail.
class CommandFailure : public std::runtime_error {
public:
    CommandFailure(ResultCode code, const std::string& detail) : std::runtime_error(detail), m_code(code) {}

    ResultCode code() const { return m_code; }

private:
    ResultCode m_code;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_PROTOCOL_RESULT_CODE_H
