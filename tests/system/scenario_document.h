// The table in docs/scenarios.md: what an application sees of each scenario. It is written from the rows that the test
// checks, and from the scenarios' own descriptions.
#ifndef ZUV_TESTS_SYSTEM_SCENARIO_DOCUMENT_H
#define ZUV_TESTS_SYSTEM_SCENARIO_DOCUMENT_H

#include <string>
#include <vector>

namespace velmora::system_test {

/// A row of the table, in words.
struct ScenarioRow {
    std::string scenario;
    std::string asynchronous;
    std::string synchronous;
    std::string line;     ///< part of a line in the log, or ""
    bool lineInBothModes; ///< or in synchronous mode only
    std::string remarks;  ///< or ""
};

std::string currentScenarioDocument();

/// The document with its table written anew from `rows`; the text around the table stays as it is.
std::string scenarioDocumentWith(const std::vector<ScenarioRow>& rows);

/// Replaces the document; scripts/scenario-table has the test do this.
void writeScenarioDocument(const std::string& text);

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_SCENARIO_DOCUMENT_H
