// Names for calls to the bus daemon itself.
#ifndef ZUV_DESKTOP_BUS_BUS_DAEMON_H
#define ZUV_DESKTOP_BUS_BUS_DAEMON_H

#include <cstdint>

namespace velmora::desktop {

inline constexpr const char* kDaemonName = "org.freedesktop.DBus";
inline constexpr const char* kDaemonPath = "/org/freedesktop/DBus";
inline constexpr const char* kStartMethod = "StartServiceByName";
inline constexpr uint32_t kStartFlags = 0;

/// For the log, which does not accept null pointers: D-Bus omits some of its texts.
inline const char* textOf(const char* text) {
    return text == nullptr ? "none" : text;
}

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_BUS_DAEMON_H
