// Unguessable identifiers.
#ifndef ZUV_DESKTOP_BASE_RANDOM_TOKEN_H
#define ZUV_DESKTOP_BASE_RANDOM_TOKEN_H

#include <string>

namespace velmora::desktop {

/// 128 random bits as 32 hexadecimal digits: unique and unguessable.
/// @throws std::system_error when the kernel provides no random bytes.
std::string randomToken();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_RANDOM_TOKEN_H
