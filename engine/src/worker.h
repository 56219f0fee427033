// A session's thread: a queue of tasks, and tasks for later.
#ifndef ZUV_ENGINE_WORKER_H
#define ZUV_ENGINE_WORKER_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace velmora::engine {

/// Runs tasks one after the other on a thread of its own, which shares ownership of the worker and is never joined.
class Worker {
public:
    using Task = std::function<void()>;
    using Clock = std::chrono::steady_clock;
    using Timer = std::pair<Clock::time_point, std::uint64_t>;

    /// @throws std::system_error if there can be no thread.
    static std::shared_ptr<Worker> start();

    /// Adds a task; drops it after end(). Never blocks. Any thread.
    void post(Task task);

    /// Drops the tasks that have not begun, runs `last`, and ends the thread. Does not wait. Any thread; once.
    void end(Task last);

    /// Runs a task later, unless the worker ends before. The worker's thread only.
    Timer callAfter(Clock::duration delay, Task task);

    /// Does nothing for a timer that has run. The worker's thread only.
    void cancel(const Timer& timer) { m_timers.erase(timer); }

private:
    Worker() = default;
    void run();
    bool runNextTask(std::unique_lock<std::mutex>& lock);
    void runDueTimer(std::unique_lock<std::mutex>& lock);

    std::mutex m_mutex; // guards the members up to m_last
    std::condition_variable m_changed;
    std::deque<Task> m_tasks;
    bool m_ending = false;
    Task m_last;

    std::map<Timer, Task> m_timers; // of the worker's thread
    std::uint64_t m_timersMade = 0;
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_WORKER_H
