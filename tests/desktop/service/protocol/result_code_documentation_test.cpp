// The documents list every result code that the service has, and no other.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <string>

namespace {

using NamesByCode = std::map<int, std::string>;

/// The matches of a pattern that has one group for the name and one for the code.
NamesByCode namesIn(const std::string& path, const std::string& pattern, std::size_t name, std::size_t code) {
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    const std::regex expression(pattern);
    NamesByCode names;
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (std::regex_match(line, match, expression))
            names[std::stoi(match[code])] = match[name];
    }
    return names;
}

TEST(ResultCodes, AreAllDocumented) {
    const NamesByCode known = namesIn(ZUV_RESULT_CODES, R"(    (\w+) = (\d+),.*)", 1, 2);
    const NamesByCode documented = namesIn(ZUV_DOCUMENTS "/result-codes.md", R"(\| (\d+) \| (\w+) \|.*)", 2, 1);
    EXPECT_EQ(known.size(), 7U);
    EXPECT_EQ(documented, known);
}

} // namespace
