#ifndef ZUV_DESKTOP_SERVICE_PROTOCOL_RESULT_CODE_H
#define ZUV_DESKTOP_SERVICE_PROTOCOL_RESULT_CODE_H

#include <stdexcept>
#include <string>

namespace velmora::desktop {

/// The result code of an event. The client compares with 200 only; the others are for people who read its
/// log.
enum class ResultCode : int {
    Ok = 200,
    BadCommand = 400, ///< no command, or one whose kind, position or URL means nothing
    NotFound = 404,   ///< no such object, or the medium is not there or cannot be reached
    WrongState = 409, ///< nothing of this kind is started
    Unplayable = 415, ///< the medium is there, but cannot be played or sought
    Internal = 500,   ///< the service itself failed
};

/// Why a command failed, as its answer tells: what() is the readable detail.
class CommandFailure : public std::runtime_error {
public:
    CommandFailure(ResultCode code, const std::string& detail) : std::runtime_error(detail), m_code(code) {}

    ResultCode code() const { return m_code; }

private:
    ResultCode m_code;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_PROTOCOL_RESULT_CODE_H
