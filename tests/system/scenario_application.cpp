#include "system/scenario_application.h"

#include <iostream>

namespace velmora::system_test {

ScenarioApplicationTest::~ScenarioApplicationTest() {
    if (!HasFailure())
        return;
    for (const std::string& line : ClientLog::lines())
        std::cout << line << '\n';
}

// The bus runs already, so the environment of what it starts is changed through it.
void ScenarioApplicationTest::play(const std::string& scenario) {
    ASSERT_GE(m_peer.setActivationVariable("ZUV_SERVICE_SCENARIO", scenario), 0);
    playWithoutScenario();
}

void ScenarioApplicationTest::playRules(const std::string& rules) {
    play(addFile(m_folder, "scenario.json", R"({"description": "", "rules": [)" + rules + "]}"));
}

void ScenarioApplicationTest::playWithoutScenario() {
    ASSERT_GE(m_peer.setActivationVariable("ZUV_SERVICE_ENGINE", "simulated"), 0);
    startService();
}

std::string ScenarioApplicationTest::addMedium(const std::string& name) {
    return addFile(m_folder, name, "the bytes of " + name);
}

bool serves(const std::string& localUrl, const std::string& medium) {
    return fetch(localUrl).body == fileBytes(medium);
}

std::vector<std::string> kindsOf(const std::vector<Notification>& notifications) {
    std::vector<std::string> kinds;
    kinds.reserve(notifications.size());
    for (const Notification& each : notifications)
        kinds.push_back((each.medium == Medium::MainVideo ? "main video " : "advertisement ") + each.changed);
    return kinds;
}

} // namespace velmora::system_test
