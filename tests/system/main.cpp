// main() of the system tests: recorded, and with a /dev/shm of their own.
#include "launcher/private_bus.h"
#include "support/recorded_tests.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

int main(int argc, char** argv) {
    const bool lists = std::any_of(
        argv, argv + argc, [](std::string_view argument) { return argument.starts_with("--gtest_list_tests"); });
    if (!lists && !velmora::isRecorded())
        return velmora::runRecorded(argv);
    testing::InitGoogleTest(&argc, argv);
    if (!lists)
        velmora::desktop::enterPrivateShm();
    return RUN_ALL_TESTS();
}
