#include "support/test_files.h"

#include <fstream>

namespace velmora {

std::filesystem::path addFile(const desktop::TemporaryFolder& folder, const std::string& name,
                              const std::string& bytes) {
    std::ofstream(folder.path() / name, std::ios::binary) << bytes;
    return folder.path() / name;
}

std::filesystem::path clip(const std::string& name) {
    return std::filesystem::path(ZUV_TEST_MEDIA_DIR) / name;
}

} // namespace velmora
