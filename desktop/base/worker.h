#ifndef ZUV_DESKTOP_BASE_WORKER_H
#define ZUV_DESKTOP_BASE_WORKER_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

namespace velmora::desktop {

/// A thread that carries out tasks one after the other, in the order of post(). It begins with the first
/// task.
class Worker {
public:
    /// A task that may take long looks at the token, and ends soon when a stop is requested. It must not
    /// throw.
    using Task = std::function<void(std::stop_token)>;

    Worker() = default;
    /// Drops the tasks that wait, asks the running one to stop and waits for its end.
    ~Worker() = default;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Never blocks. Any thread.
    void post(Task task);

private:
    void run(const std::stop_token& stop);

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable_any m_posted;
    std::deque<Task> m_tasks;
    std::jthread m_thread; ///< last: ends before what it uses does
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_WORKER_H
