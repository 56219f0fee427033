#include "base/worker.h"

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace velmora::desktop {
namespace {

/// Returns when a stop is requested.
void awaitStop(const std::stop_token& stop) {
    std::promise<void> stopped;
    const std::stop_callback onStop(stop, [&] { stopped.set_value(); });
    stopped.get_future().wait();
}

TEST(Worker, CarriesTasksOutInOrderOnOneThreadOfItsOwn) {
    Worker worker;
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    std::promise<void> done;
    for (int i = 0; i < 100; ++i)
        worker.post([&, i](const std::stop_token&) {
            order.push_back(i);
            threads.push_back(std::this_thread::get_id());
            if (i == 99)
                done.set_value();
        });
    done.get_future().wait();
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order.at(static_cast<std::size_t>(i)), i);
    EXPECT_EQ(threads, std::vector(100, threads.front()));
    EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST(Worker, EndsWithoutEverHavingBegun) {
    const Worker worker;
}

TEST(Worker, InterruptsTheRunningTaskAndDropsTheOthersWhenItEnds) {
    std::promise<void> begun;
    bool interrupted = false;
    bool dropped = true;
    {
        Worker worker;
        worker.post([&](const std::stop_token& stop) {
            begun.set_value();
            awaitStop(stop);
            interrupted = true;
        });
        worker.post([&](const std::stop_token&) { dropped = false; });
        begun.get_future().wait();
    }
    EXPECT_TRUE(interrupted);
    EXPECT_TRUE(dropped);
}

TEST(Worker, TakesTasksWhileWhatAnEarlierOneOwnedEnds) {
    std::promise<void> ending;
    std::promise<void> second;
    struct Owned {
        ~Owned() {
            ending.set_value();
            // The post below must come through while this is still ending.
            second.wait();
        }
        std::promise<void>& ending;
        std::future<void> second;
    };
    Worker worker;
    std::shared_ptr<Owned> owned(new Owned{ending, second.get_future()});
    worker.post([kept = std::move(owned)](const std::stop_token&) {});
    ending.get_future().wait();
    worker.post([](const std::stop_token&) {});
    second.set_value();
}

} // namespace
} // namespace velmora::desktop
