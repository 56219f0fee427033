#ifndef ZUV_TESTS_SYSTEM_STARTABLE_SERVICE_H
#define ZUV_TESTS_SYSTEM_STARTABLE_SERVICE_H

#include "launcher/temporary_folder.h"

#include <filesystem>
#include <string>

namespace velmora::system_test {

/// A folder of programs for a private bus: the keeper, and in the service's place a script that counts how
/// often it is started and becomes the service with simulated media. What the next start does can be changed.
class StartableService {
public:
    StartableService();

    const std::filesystem::path& folder() const { return m_folder.path(); }

    /// The next starts give a service that plays the scenario.
    void nextPlays(const std::string& scenario) const;
    /// The next starts fail.
    void nextFails() const;

    /// How often it was started, or was to be.
    int starts() const;

private:
    void write(const std::string& lastLine) const;

    desktop::TemporaryFolder m_folder;
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_STARTABLE_SERVICE_H
