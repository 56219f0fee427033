#include "support/files.h"

#include <unistd.h>

#include <array>
#include <fstream>
#include <iterator>

namespace velmora {

std::string fileBytes(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string readRest(int descriptor) {
    std::string text;
    std::array<char, 65536> part;
    for (ssize_t size = 0; (size = read(descriptor, part.data(), part.size())) > 0;)
        text.append(part.data(), static_cast<std::size_t>(size));
    return text;
}

} // namespace velmora
