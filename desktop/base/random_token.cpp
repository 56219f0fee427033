#include "base/random_token.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace velmora::desktop {

std::string randomToken() {
    std::array<std::uint64_t, 2> words{};
    if (getrandom(words.data(), sizeof words, 0) != static_cast<ssize_t>(sizeof words))
        throw std::system_error(errno, std::generic_category(), "cannot get random bytes");
    return fmt::format("{:016x}{:016x}", words[0], words[1]);
}

} // namespace velmora::desktop
