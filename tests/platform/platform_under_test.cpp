#include "platform/platform_under_test.h"

#include <gtest/gtest.h>

namespace velmora::platform_test {

const PlatformUnderTest& platformUnderTest() {
    static const PlatformUnderTest platform = describePlatform();
    return platform;
}

std::string stderrOf(const std::function<void()>& action) {
    ::testing::internal::CaptureStderr();
    action();
    return ::testing::internal::GetCapturedStderr();
}

} // namespace velmora::platform_test
