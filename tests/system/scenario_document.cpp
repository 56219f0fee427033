#include "system/scenario_document.h"

#include "service/scenario/scenario_files.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace velmora::system_test {
namespace {

constexpr const char* kDocument = ZUV_DOCUMENTS "/scenarios.md";
// The table is between these two lines of the document.
constexpr const char* kTableBegins =
    "<!-- Written by scripts/scenario-table: change the rows of the test instead. -->\n";
constexpr const char* kTableEnds = "<!-- The end of what scripts/scenario-table writes. -->\n";

std::string lineText(const ScenarioRow& row) {
    if (row.line.empty())
        return "";
    const std::string line = row.line.substr(0, row.line.find_last_not_of(' ') + 1);
    return "`" + line + "`" + (row.lineInBothModes ? "" : " (synchronous mode)");
}

std::string rowText(const ScenarioRow& row) {
    const std::string description = desktop::loadScenario(ZUV_SCENARIOS "/" + row.scenario + ".json").description;
    return "| `" + row.scenario + "` | " + description + " | " + row.asynchronous + " | " + row.synchronous + " | " +
           lineText(row) + " | " + row.remarks + " |\n";
}

} // namespace

std::string currentScenarioDocument() {
    std::ifstream file(kDocument);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string scenarioDocumentWith(const std::vector<ScenarioRow>& rows) {
    std::string document = currentScenarioDocument();
    const std::size_t begin = document.find(kTableBegins);
    const std::size_t end = document.find(kTableEnds);
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        throw std::runtime_error(std::string(kDocument) + ": does not say where the table is");
    std::string table = std::string(kTableBegins) + "\n" +
                        "| Scenario | The service | Asynchronous mode | Synchronous mode | In the log | Remarks |\n" +
                        "|---|---|---|---|---|---|\n";
    for (const ScenarioRow& row : rows)
        table += rowText(row);
    return document.replace(begin, end - begin, table + "\n");
}

void writeScenarioDocument(const std::string& text) {
    std::ofstream(kDocument) << text;
}

} // namespace velmora::system_test
