// Shows a local URL by another program.
#ifndef ZUV_EXAMPLES_PLAYER_VIEWER_H
#define ZUV_EXAMPLES_PLAYER_VIEWER_H

#include <string>

/// Runs `command` in a shell, with the URL as its last argument and its output on stderr. Blocks until it ends.
///
/// @throws std::runtime_error if it cannot be run or fails.
void view(const std::string& command, const std::string& url);

#endif // ZUV_EXAMPLES_PLAYER_VIEWER_H
