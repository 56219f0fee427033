#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_FILES_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_FILES_H

#include "service/scenario/scenario.h"

#include <filesystem>
#include <string>

namespace velmora::desktop {

/// The file of a scenario.
/// @param given a file, if it has a '/' or ends in ".json"; otherwise the name of a scenario that comes with
///     the desktop platform.
/// @return absolute, and not necessarily there.
std::filesystem::path scenarioFile(const std::string& given);

/// @throws std::runtime_error when it cannot be read or is no scenario; what() is "FILE: PLACE: REASON".
Scenario loadScenario(const std::filesystem::path& file);

/// The scenarios that come with the desktop platform, each with its description, by name.
/// @throws std::runtime_error when there are none, or one is no scenario.
std::string scenarioList();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_FILES_H
