// Checks that a local URL serves the medium that was requested.
#ifndef ZUV_EXAMPLES_PLAYER_MEDIA_COMPARISON_H
#define ZUV_EXAMPLES_PLAYER_MEDIA_COMPARISON_H

#include <cstdint>
#include <string>

/// Fetches all of `localUrl` and compares it byte by byte with the medium itself. Blocks until both are read; gives up
/// when nothing arrives for five seconds.
///
/// @param medium the path of a file, or an http or https URL.
/// @return the number of bytes, which are equal in both.
/// @throws std::runtime_error with the reason of the failure, or with the number of bytes after which the two differ.
std::uint64_t fetchAndCompare(const std::string& localUrl, const std::string& medium);

#endif // ZUV_EXAMPLES_PLAYER_MEDIA_COMPARISON_H
