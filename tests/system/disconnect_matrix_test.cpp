// What an application sees when the service dies or freezes before, during or after one of its calls: each
// cell of the matrix with real processes on a real bus.
#include "system/disconnect_cells.h"
#include "system/disconnect_run.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace velmora::system_test {
namespace {

// A busy machine makes each of the library's waits longer and interrupts everything else. The allowance is shorter
// than a synchronous request that times out, so that a call that is to return at once is told from one.
constexpr int kAllowanceMilliseconds = 200;

int longest(Range milliseconds) {
    return milliseconds.most + milliseconds.most / 6 + kAllowanceMilliseconds;
}

/// @param before the earlier notifications.
bool ranWhere(CallbackThread promised, const Notification& notification, const std::vector<Notification>& before,
              std::thread::id delivery) {
    if (promised == CallbackThread::Delivery)
        return notification.thread == delivery;
    const bool isEither = notification.thread == delivery || notification.thread == std::this_thread::get_id();
    return isEither && (promised == CallbackThread::Either || notification.thread != before.back().thread);
}

void expectCallbacks(const Seen& seen, const std::vector<Callback>& promised) {
    ASSERT_EQ(seen.callbacks.size(), promised.size());
    ASSERT_NE(seen.deliveryThread, std::this_thread::get_id());
    std::vector<Notification> before;
    for (const Notification& notification : seen.callbacks) {
        const Callback& callback = promised.at(before.size());
        SCOPED_TRACE("callback " + std::to_string(before.size()));
        EXPECT_EQ(notification.medium, callback.medium);
        EXPECT_EQ(notification.proxyId, seen.id);
        EXPECT_EQ(notification.changed, callback.changed);
        EXPECT_EQ(notification.value == seen.localUrl, notification.changed == "url") << notification.value;
        EXPECT_TRUE(ranWhere(callback.thread, notification, before, seen.deliveryThread));
        before.push_back(notification);
    }
}

class DisconnectMatrix : public testing::TestWithParam<Cell> {};

TEST_P(DisconnectMatrix, KeepsItsPromise) {
    const Promise& promise = promiseOf(GetParam());

    const Seen seen = DisconnectRun(GetParam()).run();

    EXPECT_EQ(seen.returned, promise.returned);
    EXPECT_EQ(seen.state, promise.state);
    EXPECT_EQ(seen.adState, promise.adState);
    EXPECT_EQ(!seen.localUrl.empty(), promise.localUrl);
    expectCallbacks(seen, promise.callbacks);
    const int commands = static_cast<int>(seen.commands.size());
    EXPECT_EQ(std::count(seen.commands.begin(), seen.commands.end(), commandOf(GetParam().operation)), commands);
    EXPECT_GE(commands, promise.commands.least);
    EXPECT_LE(commands, promise.commands.most);
    EXPECT_EQ(seen.restarts, promise.restarts);
    EXPECT_GE(seen.duration.count(), promise.milliseconds.least);
    EXPECT_LE(seen.duration.count(), longest(promise.milliseconds));
}

INSTANTIATE_TEST_SUITE_P(, DisconnectMatrix, testing::ValuesIn(allCells()),
                         [](const auto& cell) { return nameOf(cell.param); });

bool isOutcomeOfACell(const PromiseRule& rule, Outcome outcome) {
    const std::vector<Cell> cells = allCells();
    return std::any_of(cells.begin(), cells.end(),
                       [&](const Cell& cell) { return rule.holds(cell, outcome) && outcomeOf(cell) == outcome; });
}

TEST(DisconnectCells, EachPromiseIsKeptSomewhere) {
    for (const PromiseRule& rule : promiseRules())
        for (const Outcome outcome : rule.outcomes)
            EXPECT_TRUE(isOutcomeOfACell(rule, outcome)) << commandOf(rule.operation) << ": " << textOf(outcome);
}

TEST(DisconnectCells, EachCombinationHasItsPromiseOrTheReasonForItsAbsence) {
    for (const Cell& cell : allCombinations()) {
        if (absenceOf(cell) != nullptr)
            continue;
        SCOPED_TRACE(nameOf(cell));
        const auto isAbout = [&](const OutcomeRule& rule) { return rule.pattern.holds(cell); };
        ASSERT_EQ(std::count_if(outcomeRules().begin(), outcomeRules().end(), isAbout), 1);
        const Outcome outcome = outcomeOf(cell);
        EXPECT_EQ(std::count_if(promiseRules().begin(), promiseRules().end(),
                                [&](const PromiseRule& rule) { return rule.holds(cell, outcome); }),
                  1);
    }
}

} // namespace
} // namespace velmora::system_test
