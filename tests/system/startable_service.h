// A media service for a private bus; a test decides whether its next start succeeds.
#ifndef ZUV_TESTS_SYSTEM_STARTABLE_SERVICE_H
#define ZUV_TESTS_SYSTEM_STARTABLE_SERVICE_H

#include "launcher/temporary_folder.h"

#include <filesystem>
#include <string>

namespace velmora::system_test {

/// A folder of programs for a private bus: the keeper, and in place of the service a script that counts its starts and
/// then executes the service with simulated media, or fails.
class StartableService {
public:
    StartableService();

    const std::filesystem::path& folder() const { return m_folder.path(); }

    /// From now on a start gives a service that plays the scenario.
    void nextPlays(const std::string& scenario) const;
    /// From now on a start fails.
    void nextFails() const;

    /// The number of starts, failed ones included.
    int starts() const;

private:
    void write(const std::string& lastLine) const;

    desktop::TemporaryFolder m_folder;
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_STARTABLE_SERVICE_H
