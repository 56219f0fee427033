// Suggestions for words that somebody mistyped.
#ifndef ZUV_DESKTOP_BASE_NEAREST_WORD_H
#define ZUV_DESKTOP_BASE_NEAREST_WORD_H

#include <string>
#include <vector>

namespace velmora::desktop {

/// The end of an error message about a wrong word.
/// @return `; did you mean "WORD"?` with the most similar of the right words, or "" when none is similar: at most a
///     third of its characters may be wrong.
std::string didYouMean(const std::string& wrong, const std::vector<std::string>& right);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_NEAREST_WORD_H
