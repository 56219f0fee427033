#include "spelling.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace {

/// The number of characters to insert, remove or replace to make one word of the other.
std::size_t distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string suggestion(const std::string& word, const std::vector<std::string>& words, const std::string& suffix) {
    const auto nearest = std::min_element(words.begin(), words.end(), [&](const auto& left, const auto& right) {
        return distance(word, left) < distance(word, right);
    });
    if (nearest == words.end() || distance(word, *nearest) > (nearest->size() + 2) / 3)
        return {};
    return "; did you mean \"" + *nearest + suffix + "\"?";
}
