// Shows a local URL, or takes a picture of it, by another program.
#ifndef ZUV_EXAMPLES_PLAYER_VIEWER_H
#define ZUV_EXAMPLES_PLAYER_VIEWER_H

#include <string>
#include <vector>

/// Runs `command` in a shell, with `arguments` behind it and its output on stderr. Blocks until it ends.
///
/// @param name what the command is, for the error: "viewer", for instance.
/// @throws std::runtime_error if it cannot be run or fails.
void runWith(const std::vector<std::string>& arguments, const std::string& command, const std::string& name);

#endif // ZUV_EXAMPLES_PLAYER_VIEWER_H
