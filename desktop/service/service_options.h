// The words that the launcher and the service share: engines, and the environment variables that select what a service
// started by the bus does.
#ifndef ZUV_DESKTOP_SERVICE_SERVICE_OPTIONS_H
#define ZUV_DESKTOP_SERVICE_SERVICE_OPTIONS_H

namespace velmora::desktop {

inline constexpr const char* kGstreamerEngine = "gstreamer";
inline constexpr const char* kSimulatedEngine = "simulated";

inline constexpr const char* kEngineVariable = "ZUV_SERVICE_ENGINE";
inline constexpr const char* kScenarioVariable = "ZUV_SERVICE_SCENARIO";

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SERVICE_OPTIONS_H
