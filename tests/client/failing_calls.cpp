#include "client/failing_calls.h"

#include <array>
#include <cstddef>

namespace velmora::test {

namespace {

struct Plan {
    bool every = false;
    int left = 0; ///< calls up to the one that fails
    bool failed = false;
};

thread_local std::array<Plan, kCallKinds> plans;
thread_local int ownWork = 0;

Plan& planOf(Call call) {
    return plans[static_cast<std::size_t>(call)];
}

} // namespace

void failNth(Call call, int nth) {
    planOf(call) = {.every = false, .left = nth, .failed = false};
}

void failEvery(Call call) {
    planOf(call) = {.every = true, .left = 0, .failed = false};
}

bool stopFailing(Call call) {
    const bool failed = planOf(call).failed;
    planOf(call) = {};
    return failed;
}

OwnWork::OwnWork() {
    ++ownWork;
}

OwnWork::~OwnWork() {
    --ownWork;
}

bool isOwnWork() {
    return ownWork > 0;
}

bool isToFail(Call call) {
    if (isOwnWork())
        return false;
    Plan& plan = planOf(call);
    const bool fails = plan.every || (plan.left > 0 && --plan.left == 0);
    plan.failed = plan.failed || fails;
    return fails;
}

} // namespace velmora::test
