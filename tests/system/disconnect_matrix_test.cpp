// What an application sees when the service dies or freezes before, during or after one of its calls: each cell of
// the matrix with real processes on a real bus.
#include "disconnect_cells.h"
#include "disconnect_run.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace velmora::system_test {
namespace {

// What a busy machine adds to the library's own waits.
constexpr int kAllowanceMilliseconds = 200;

void expectThread(const std::vector<News>& seen, std::size_t callback, CallbackThread promised) {
    if (promised == CallbackThread::Either)
        return;
    const bool isFirst = promised == CallbackThread::Delivery;
    EXPECT_NE(seen[callback].thread, isFirst ? std::this_thread::get_id() : seen[callback - 1].thread);
}

void expectCallbacks(const std::vector<News>& seen, const std::vector<Callback>& promised) {
    ASSERT_EQ(seen.size(), promised.size());
    for (std::size_t i = 0; i < promised.size(); ++i) {
        SCOPED_TRACE("callback " + std::to_string(i));
        EXPECT_EQ(seen[i].medium, promised[i].medium);
        EXPECT_EQ(seen[i].changed, promised[i].changed);
        expectThread(seen, i, promised[i].thread);
    }
}

class DisconnectMatrix : public testing::TestWithParam<Cell> {};

TEST_P(DisconnectMatrix, KeepsItsPromise) {
    const Promise& promise = promiseOf(GetParam());

    const Seen seen = DisconnectRun(GetParam()).run();

    EXPECT_EQ(seen.returned, promise.returned);
    EXPECT_EQ(seen.state, promise.state);
    EXPECT_EQ(seen.adState, promise.adState);
    EXPECT_EQ(seen.localUrl, promise.localUrl);
    expectCallbacks(seen.callbacks, promise.callbacks);
    const int commands = static_cast<int>(seen.commands.size());
    EXPECT_EQ(std::count(seen.commands.begin(), seen.commands.end(), commandOf(GetParam().operation)),
              commands);
    EXPECT_GE(commands, promise.commands.least);
    EXPECT_LE(commands, promise.commands.most);
    EXPECT_EQ(seen.restarts, promise.restarts);
    EXPECT_GE(seen.duration.count(), promise.milliseconds.least);
    EXPECT_LE(seen.duration.count(), promise.milliseconds.most + kAllowanceMilliseconds);
}

INSTANTIATE_TEST_SUITE_P(, DisconnectMatrix, testing::ValuesIn(allCells()),
                         [](const auto& cell) { return nameOf(cell.param); });

TEST(DisconnectCells, EachCombinationHasItsPromiseOrTheReasonForItsAbsence) {
    for (const Cell& cell : allCombinations()) {
        if (absenceOf(cell) != nullptr)
            continue;
        SCOPED_TRACE(nameOf(cell));
        const auto isAbout = [&](const FateRule& rule) { return rule.pattern.holds(cell); };
        ASSERT_EQ(std::count_if(fateRules().begin(), fateRules().end(), isAbout), 1);
        const Fate fate = fateOf(cell);
        EXPECT_EQ(std::count_if(promiseRules().begin(), promiseRules().end(),
                                [&](const PromiseRule& rule) { return rule.holds(cell, fate); }),
                  1);
    }
}

} // namespace
} // namespace velmora::system_test
