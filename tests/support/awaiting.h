// How long tests wait for what must come, and waiting for what no event announces.
#ifndef ZUV_TESTS_SUPPORT_AWAITING_H
#define ZUV_TESTS_SUPPORT_AWAITING_H

#include <chrono>
#include <functional>

namespace velmora {

/// Long enough for a busy machine; a test that waits in vain for so long has failed.
inline constexpr std::chrono::seconds kPatience(10);

/// Polls `condition` until it holds or kPatience has passed. @return whether it came to hold.
bool eventually(const std::function<bool()>& condition);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_AWAITING_H
