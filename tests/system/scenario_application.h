// The fixture of tests with a service that misbehaves on purpose: beside that of every system test, a scenario,
// simulated media, and the library's log.
#ifndef ZUV_TESTS_SYSTEM_SCENARIO_APPLICATION_H
#define ZUV_TESTS_SYSTEM_SCENARIO_APPLICATION_H

#include "launcher/temporary_folder.h"
#include "support/bus_peer.h"
#include "support/mode.h"
#include "system/application.h"
#include "system/client_log.h"

#include <memory>
#include <string>
#include <vector>

namespace velmora::system_test {

using Proxy = std::shared_ptr<ZUVMediaProxyInterface>;

class ScenarioApplicationTest : public ApplicationTest {
protected:
    /// Prints the library's log when the test has failed.
    ~ScenarioApplicationTest() override;

    /// Starts the service, with simulated media and a scenario.
    /// @param scenario path of a scenario file.
    void play(const std::string& scenario);

    /// Starts the service with simulated media and a scenario of these rules.
    void playRules(const std::string& rules);

    /// Starts the service with simulated media and without a scenario.
    void playWithoutScenario();

    static Proxy create(Mode mode) { return createProxy(manager(), mode); }

    /// Adds a file as a medium: the simulated engine plays any file that exists.
    std::string addMedium(const std::string& name);

    BusPeer m_peer;

private:
    const desktop::TemporaryFolder m_folder;
};

/// Whether the bytes behind the local URL are those of the medium.
bool serves(const std::string& localUrl, const std::string& medium);

/// The kind of each notification: "main video url", "advertisement url", "main video definitions", ...
std::vector<std::string> kindsOf(const std::vector<Notification>& notifications);

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_SCENARIO_APPLICATION_H
