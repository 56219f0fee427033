// What a user may name as a medium.
#ifndef ZUV_EXAMPLES_PLAYER_MEDIUM_H
#define ZUV_EXAMPLES_PLAYER_MEDIUM_H

#include <stdexcept>
#include <string>

/// The command line is wrong, whatever the machine holds.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The medium as the service needs it: the absolute path of a file, because the service is another process with its own
/// working directory, or an http or https URL.
///
/// @param medium a path, or a file:, http: or https: URL.
/// @throws UsageError for another kind of URL, std::runtime_error if there is no such file.
std::string resolveMedium(const std::string& medium);

#endif // ZUV_EXAMPLES_PLAYER_MEDIUM_H
