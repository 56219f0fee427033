// The documents list every line that the client can log, with its level, and no line that it cannot.
#include "support/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace {

using LinesByLevel = std::map<int, std::set<std::string>>;

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

LinesByLevel linesInTables() {
    LinesByLevel lines;
    int level = 0;
    std::ifstream document(ZUV_DOCUMENTS "/log-levels.md");
    for (std::string row; std::getline(document, row);) {
        std::smatch part;
        if (std::regex_match(row, part, std::regex(R"(## Level (\d+))")))
            level = std::stoi(part[1]);
        else if (level != 0 && std::regex_search(row, part, std::regex("^\\| `([^`]*)` \\|")))
            lines[level].insert(part[1]);
    }
    return lines;
}

TEST(LogDocumentation, ListsTheLinesOfTheCodeUnderTheirLevels) {
    const LinesByLevel code = linesInCode();
    ASSERT_EQ(code.size(), 4u);

    const LinesByLevel tables = linesInTables();

    for (const int level : {1, 1000, 4000, 5000})
        EXPECT_EQ(tables.at(level), code.at(level)) << "level " << level;
}

TEST(LogDocumentation, GivesCauseAndRemedyOfEveryFailure) {
    const std::string document = contentOf(ZUV_DOCUMENTS "/troubleshooting.md");

    const std::set<std::string> failures = linesInCode().at(1000);
    for (const std::string& line : failures)
        EXPECT_NE(document.find("| `" + line + "`"), std::string::npos) << line;
}

} // namespace
