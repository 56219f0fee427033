#ifndef ZUV_TESTS_SUPPORT_TEST_FILES_H
#define ZUV_TESTS_SUPPORT_TEST_FILES_H

#include "launcher/temporary_folder.h"

#include <filesystem>
#include <string>

namespace velmora::desktop {

/// @return the new file's path.
std::filesystem::path addFile(const TemporaryFolder& folder, const std::string& name, const std::string& bytes = "");

std::string fileBytes(const std::filesystem::path& file);

/// A generated clip, by its name; see test_media.cmake.
std::filesystem::path clip(const std::string& name);

} // namespace velmora::desktop

#endif // ZUV_TESTS_SUPPORT_TEST_FILES_H
