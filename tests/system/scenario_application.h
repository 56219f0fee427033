// What tests with a service that misbehaves on purpose have beside what every system test has: a scenario,
// simulated media, and the library's log.
#ifndef ZUV_TESTS_SYSTEM_SCENARIO_APPLICATION_H
#define ZUV_TESTS_SYSTEM_SCENARIO_APPLICATION_H

#include "launcher/temporary_folder.h"
#include "support/bus_peer.h"
#include "system/application.h"
#include "system/client_log.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace velmora::system_test {

enum class Mode { Asynchronous, Synchronous };
void PrintTo(Mode mode, std::ostream* stream);

using Proxy = std::shared_ptr<ZUVMediaProxyInterface>;

class ScenarioApplicationTest : public ApplicationTest {
protected:
    /// Lists the library's log when the test has failed.
    ~ScenarioApplicationTest() override;

    /// Starts the service, with simulated media and a scenario.
    /// @param scenario a file.
    void play(const std::string& scenario);

    /// Starts the service with simulated media, and a scenario that is one of these rules.
    void playRules(const std::string& rules);

    /// Starts the service with simulated media and without a scenario.
    void playWithoutScenario();

    Proxy create(Mode mode);

    /// A new medium: simulated media play whatever exists.
    std::string addMedium(const std::string& name);

    bus_test::BusPeer m_peer;

private:
    const desktop::TemporaryFolder m_folder;
};

/// Whether the bytes behind the local URL are those of the medium.
bool serves(const std::string& localUrl, const std::string& medium);

/// "main video url", "advertisement url", "main video definitions", ... of each, for a glance at their order.
std::vector<std::string> kindsOf(const std::vector<News>& news);

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_SCENARIO_APPLICATION_H
