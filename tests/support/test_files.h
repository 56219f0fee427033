// The files that tests make and play: new ones in a temporary folder, and the generated clips.
#ifndef ZUV_TESTS_SUPPORT_TEST_FILES_H
#define ZUV_TESTS_SUPPORT_TEST_FILES_H

#include "launcher/temporary_folder.h"
#include "support/files.h"

#include <filesystem>
#include <string>

namespace velmora {

/// @return the new file's path.
std::filesystem::path addFile(const desktop::TemporaryFolder& folder, const std::string& name,
                              const std::string& bytes = "");

/// A generated clip, by its name; see test_media.cmake.
std::filesystem::path clip(const std::string& name);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_TEST_FILES_H
