// Proof that what comes from a local URL is the medium that was asked for.
#ifndef ZUV_EXAMPLES_PLAYER_MEDIA_COMPARISON_H
#define ZUV_EXAMPLES_PLAYER_MEDIA_COMPARISON_H

#include <cstdint>
#include <string>

/// Fetches `localUrl` whole and compares it byte by byte with the medium itself. Blocks until both are read;
/// gives up when nothing arrives for five seconds.
/// @param medium a file's path, or an http or https URL.
/// @return the number of bytes, all of them the same.
/// @throws std::runtime_error that says what failed, or after how many bytes the two differ.
std::uint64_t fetchAndCompare(const std::string& localUrl, const std::string& medium);

#endif // ZUV_EXAMPLES_PLAYER_MEDIA_COMPARISON_H
