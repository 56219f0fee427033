// Turning the errors of system calls and of libsystemd into exceptions.
#ifndef ZUV_DESKTOP_BASE_SYSTEM_ERROR_H
#define ZUV_DESKTOP_BASE_SYSTEM_ERROR_H

#include <string>
#include <system_error>

namespace velmora::desktop {

/// The exception for an errno value. @param what was attempted.
inline std::system_error systemError(int error, const std::string& what) {
    return {error, std::generic_category(), what};
}

/// @param result of a call of libsystemd, which returns errors as negative errno values.
/// @throws std::system_error when it is an error.
inline void requireSuccess(int result, const char* what) {
    if (result < 0)
        throw systemError(-result, what);
}

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_SYSTEM_ERROR_H
