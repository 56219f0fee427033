#include "base/nearest_word.h"

#include <algorithm>
#include <numeric>

namespace velmora::desktop {

namespace {

/// The Levenshtein distance: how many characters have to be inserted, removed or replaced.
std::size_t distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1); // row[j]: the distance of the characters of `from` so far to to[0, j)
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string didYouMean(const std::string& wrong, const std::vector<std::string>& right) {
    const std::string* nearest = nullptr;
    std::size_t least = 0;
    for (const std::string& word : right) {
        const std::size_t allowed = (word.size() + 2) / 3;
        if (wrong.size() > word.size() + allowed)
            continue; // not even compared: it can be of any length
        const std::size_t errors = distance(wrong, word);
        if (errors <= allowed && (nearest == nullptr || errors < least)) {
            nearest = &word;
            least = errors;
        }
    }
    return nearest == nullptr ? "" : "; did you mean \"" + *nearest + "\"?";
}

} // namespace velmora::desktop
