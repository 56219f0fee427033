// Reading whole files.
#ifndef ZUV_TESTS_SUPPORT_FILES_H
#define ZUV_TESTS_SUPPORT_FILES_H

#include <filesystem>
#include <string>

namespace velmora {

/// All of a file; empty when it cannot be read.
std::string fileBytes(const std::filesystem::path& file);

/// What is left to read from a descriptor, up to its end.
std::string readRest(int descriptor);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_FILES_H
