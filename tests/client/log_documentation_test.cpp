// docs/log-levels.md lists every line that the client can log under its level, and no other, and says of each failure
// what causes it and what to do.
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

using LinesByLevel = std::map<int, std::set<std::string>>;

const std::regex kRow(R"(\| `([^`]*)` \| [^|]+ \| [^|]+ \|(?: ([^|]*) \| ([^|]*) \|)?)");

std::string contentOf(const std::string& path) {
    std::string content = velmora::fileBytes(path);
    EXPECT_NE(content, "") << path;
    return content;
}

/// As the documents show it: the line ends of a format are left out.
std::string withoutLineEnds(std::string format) {
    while (format.ends_with("\\n"))
        format.resize(format.size() - 2);
    return format;
}

void forEachMatch(const std::string& text, const std::string& pattern,
                  const std::function<void(const std::smatch&)>& use) {
    const std::regex expression(pattern);
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
        use(*match);
}

LinesByLevel linesInCode() {
    const std::map<std::string, int> levels = {
        {"kMilestone", 1}, {"kFailure", 1000}, {"kProgress", 4000}, {"kDump", 5000}};
    LinesByLevel lines;
    for (const auto& entry : std::filesystem::directory_iterator(ZUV_CLIENT_SOURCES)) {
        if (entry.path().extension() != ".cpp")
            continue;
        const std::string code = contentOf(entry.path());
        forEachMatch(code, R"re(ZUV_LOG(?:_AS)?\(\s*(?:\w+,\s*)?(k\w+),\s*"([^"]*)")re",
                     [&](const std::smatch& call) { lines[levels.at(call[1])].insert(withoutLineEnds(call[2])); });
        forEachMatch(code, R"re("(\[TRACE [^"]*)")re",
                     [&](const std::smatch& trace) { lines[5000].insert(withoutLineEnds(trace[1])); });
    }
    return lines;
}

/// A row of the document's tables: "| `LINE` | FUNCTION | MEANING |", for some followed by " CAUSE | REMEDY |".
struct Row {
    int level;
    std::string line;
    std::string cause;
    std::string remedy;
};

std::vector<Row> documentedRows() {
    std::vector<Row> rows;
    int level = 0;
    std::ifstream document(ZUV_DOCUMENTS "/log-levels.md");
    for (std::string text; std::getline(document, text);) {
        std::smatch part;
        if (std::regex_match(text, part, std::regex(R"(## Level (\d+))")))
            level = std::stoi(part[1]);
        else if (level != 0 && std::regex_match(text, part, kRow))
            rows.push_back({level, part[1], part[2], part[3]});
    }
    return rows;
}

TEST(LogDocumentation, ListsTheLinesOfTheCodeUnderTheirLevels) {
    const LinesByLevel code = linesInCode();
    ASSERT_EQ(code.size(), 4u);

    LinesByLevel documented;
    for (const Row& row : documentedRows())
        EXPECT_TRUE(documented[row.level].insert(row.line).second) << "twice: " << row.line;

    for (const int level : {1, 1000, 4000, 5000})
        EXPECT_EQ(documented[level], code.at(level)) << "level " << level;
}

TEST(LogDocumentation, GivesCauseAndRemedyOfEveryFailure) {
    const std::vector<Row> rows = documentedRows();

    const std::set<std::string> failures = linesInCode().at(1000);
    for (const std::string& line : failures)
        EXPECT_TRUE(std::ranges::any_of(rows, [&](const Row& row) {
            return row.level == 1000 && row.line == line && !row.cause.empty() && !row.remedy.empty();
        })) << line;
}

} // namespace
