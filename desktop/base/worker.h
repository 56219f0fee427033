// A thread with a queue of tasks.
#ifndef ZUV_DESKTOP_BASE_WORKER_H
#define ZUV_DESKTOP_BASE_WORKER_H

#include "base/mutex.h"

#include <deque>
#include <functional>
#include <stop_token>
#include <thread>

namespace velmora::desktop {

/// Runs tasks one after the other, in the order of post(), on a thread of its own. The thread starts with the
/// first task.
class Worker {
public:
    /// A task that can take long watches the token and returns soon after a stop is requested. It must not throw.
    using Task = std::function<void(std::stop_token)>;

    Worker() = default;
    /// Drops the tasks that have not started, requests the running one to stop, and waits for it to return.
    ~Worker() = default;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Never blocks. Any thread.
    void post(Task task) ZUV_EXCLUDES(m_mutex);

private:
    void run(const std::stop_token& stop) ZUV_EXCLUDES(m_mutex);

    Mutex m_mutex;
    ConditionVariable m_posted;
    std::deque<Task> m_tasks ZUV_GUARDED_BY(m_mutex);
    std::jthread m_thread ZUV_GUARDED_BY(m_mutex); ///< last, so that it ends before the members it uses
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_WORKER_H
