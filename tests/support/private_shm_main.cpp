// main() of tests with a real service: the region has one name on the machine, so each process gets a /dev/shm of its
// own, before it has threads.
#include "launcher/private_bus.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (!::testing::GTEST_FLAG(list_tests))
        velmora::desktop::enterPrivateShm();
    return RUN_ALL_TESTS();
}
