#include "support/test_files.h"

#include <fstream>
#include <iterator>

namespace velmora::desktop {

std::filesystem::path addFile(const TemporaryFolder& folder, const std::string& name, const std::string& bytes) {
    std::ofstream(folder.path() / name, std::ios::binary) << bytes;
    return folder.path() / name;
}

std::string fileBytes(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::filesystem::path clip(const std::string& name) {
    return std::filesystem::path(ZUV_TEST_MEDIA_DIR) / name;
}

} // namespace velmora::desktop
