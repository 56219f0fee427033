// The options that the launcher and the service share, and the environment variables through which the launcher passes
// them to a service that the bus starts.
#ifndef ZUV_DESKTOP_SERVICE_SERVICE_OPTIONS_H
#define ZUV_DESKTOP_SERVICE_SERVICE_OPTIONS_H

#include "base/command_line.h"

namespace velmora::desktop {

inline constexpr const char* kGstreamerEngine = "gstreamer";
inline constexpr const char* kSimulatedEngine = "simulated";

/// The name of the event region, as for shm_open().
inline constexpr const char* kEventRegionName = "/ZUV_PROXY";

inline constexpr const char* kEngineVariable = "ZUV_SERVICE_ENGINE";
inline constexpr const char* kScenarioVariable = "ZUV_SERVICE_SCENARIO";
inline constexpr const char* kOpenTimeoutVariable = "ZUV_SERVICE_OPEN_TIMEOUT";

inline constexpr double kDefaultOpenTimeout = 5;
inline constexpr NumberRange kOpenTimeoutRange{0.001, 3600};

inline constexpr const char* kEngineHelp = "What plays the media: gstreamer (default), or simulated, which plays "
                                           "whatever exists without looking at it";
inline constexpr const char* kOpenTimeoutHelp =
    "Seconds, from 0.001 to 3600, after which a medium that is not ready counts as unplayable (default: 5)";
inline constexpr const char* kScenarioHelp =
    "Have the service misbehave on purpose: a scenario's file, or the name of one of --list-scenarios";
inline constexpr const char* kListScenariosHelp = "Explain the scenarios that come with the desktop platform";

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SERVICE_OPTIONS_H
