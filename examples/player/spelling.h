// Finds what a user may have meant by a misspelt word.
#ifndef ZUV_EXAMPLES_PLAYER_SPELLING_H
#define ZUV_EXAMPLES_PLAYER_SPELLING_H

#include <string>
#include <vector>

/// `; did you mean "WORD"?` with the nearest of `words`; empty when none is near: at most a third of its characters may
/// be wrong.
///
/// @param suffix follows the word in the text.
std::string suggestion(const std::string& word, const std::vector<std::string>& words, const std::string& suffix = "");

#endif // ZUV_EXAMPLES_PLAYER_SPELLING_H
