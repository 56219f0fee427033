#include "base/random_token.h"

#include "base/system_error.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdint>

namespace velmora::desktop {

std::string randomToken() {
    std::array<std::uint64_t, 2> words{};
    if (getrandom(words.data(), sizeof words, 0) != static_cast<ssize_t>(sizeof words))
        throw systemError(errno, "cannot get random bytes");
    return fmt::format("{:016x}{:016x}", words[0], words[1]);
}

} // namespace velmora::desktop
