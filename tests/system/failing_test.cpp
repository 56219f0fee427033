// For recorded_tests_test.cpp: each test has the library ask the service for a proxy, and passes or fails on purpose.
#include "system/application.h"

#include <csignal>

namespace velmora::system_test {
namespace {

class Run : public ApplicationTest {
protected:
    Run() { EXPECT_NE(manager().createNewZUVMediaProxySync(), nullptr); }
};

TEST_F(Run, Passes) {}

TEST_F(Run, Fails) {
    FAIL();
}

TEST_F(Run, Crashes) {
    raise(SIGKILL);
}

} // namespace
} // namespace velmora::system_test
