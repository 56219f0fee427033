#include "system/scenario_application.h"

#include <fstream>
#include <iostream>

namespace velmora::system_test {
namespace {

std::string write(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file) << text;
    return file;
}

} // namespace

void PrintTo(Mode mode, std::ostream* stream) {
    *stream << (mode == Mode::Synchronous ? "Synchronous" : "Asynchronous");
}

ScenarioApplicationTest::~ScenarioApplicationTest() {
    if (!HasFailure())
        return;
    for (const std::string& line : ClientLog::lines())
        std::cout << line << '\n';
}

// The bus is there already: what it starts finds in its environment what it is told now.
void ScenarioApplicationTest::play(const std::string& scenario) {
    ASSERT_GE(m_peer.setActivationVariable("ZUV_SERVICE_SCENARIO", scenario), 0);
    playWithoutScenario();
}

void ScenarioApplicationTest::playRules(const std::string& rules) {
    play(write(m_folder.path() / "scenario.json", R"({"description": "", "rules": [)" + rules + "]}"));
}

void ScenarioApplicationTest::playWithoutScenario() {
    ASSERT_GE(m_peer.setActivationVariable("ZUV_SERVICE_ENGINE", "simulated"), 0);
    startService();
}

Proxy ScenarioApplicationTest::create(Mode mode) {
    return mode == Mode::Synchronous ? manager().createNewZUVMediaProxySync() : manager().createNewZUVMediaProxy();
}

std::string ScenarioApplicationTest::addMedium(const std::string& name) {
    return write(m_folder.path() / name, "the bytes of " + name);
}

bool serves(const std::string& localUrl, const std::string& medium) {
    return download(localUrl).bytes == fileBytes(medium);
}

std::vector<std::string> kindsOf(const std::vector<News>& news) {
    std::vector<std::string> kinds;
    kinds.reserve(news.size());
    for (const News& each : news)
        kinds.push_back((each.medium == Medium::MainVideo ? "main video " : "advertisement ") + each.changed);
    return kinds;
}

} // namespace velmora::system_test
