// Finding, loading and listing scenario files.
#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_FILES_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_FILES_H

#include "service/scenario/scenario.h"

#include <filesystem>
#include <string>

namespace velmora::desktop {

/// The path of a scenario's file.
/// @param given a path if it contains a '/' or ends in ".json"; otherwise the name of a scenario that comes with
///     the desktop platform.
/// @return an absolute path; the file may not exist.
std::filesystem::path scenarioFile(const std::string& given);

/// @throws std::runtime_error when the file cannot be read, is not a regular file, has more than 1 MiB or is not a
///     valid scenario; what() is "FILE: PLACE: REASON", and suggests a similar name when there is no such scenario.
Scenario loadScenario(const std::filesystem::path& file);

/// The names and descriptions of the scenarios that come with the desktop platform, one a line.
/// @throws std::runtime_error when their folder cannot be read or one is not valid.
std::string scenarioList();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_FILES_H
