// Each lock that an operation takes, the manager's and the proxies', fails once. The lock after a wait on the condition
// variable is not among them: when it fails, the C++ standard ends the process.
#include "client/operation_under_test.h"

#include <system_error>

namespace velmora::test {
namespace {

class FailingLock : public EveryOperation {};

TEST_P(FailingLock, PassesTheErrorAndLeavesNothingBehind) {
    expectEveryFailureToPass<std::system_error>(Call::Lock);
}

INSTANTIATE_TEST_SUITE_P(Operations, FailingLock, ::testing::ValuesIn(everyOperation()), caseName);

} // namespace
} // namespace velmora::test
