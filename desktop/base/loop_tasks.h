// Running tasks on the thread of an event loop.
#ifndef ZUV_DESKTOP_BASE_LOOP_TASKS_H
#define ZUV_DESKTOP_BASE_LOOP_TASKS_H

#include "base/event_loop.h"
#include "base/file_descriptor.h"
#include "base/mutex.h"

#include <deque>
#include <functional>

namespace velmora::desktop {

/// A queue of tasks that any thread fills and an event loop empties.
class LoopTasks {
public:
    using Task = std::function<void()>;

    /// @param loop outlives this.
    /// @throws std::system_error
    explicit LoopTasks(sd_event* loop);
    /// Drops the tasks that have not run. On the loop's thread.
    ~LoopTasks() = default;
    LoopTasks(const LoopTasks&) = delete;
    LoopTasks& operator=(const LoopTasks&) = delete;

    /// Has the loop run the task, after all that were posted before. Never blocks. Any thread.
    void post(Task task) ZUV_EXCLUDES(m_mutex);

private:
    static int onWake(sd_event_source* source, int descriptor, uint32_t events, void* tasks);
    void runAll() ZUV_EXCLUDES(m_mutex);

    FileDescriptor m_wake; ///< an eventfd
    Mutex m_mutex;
    std::deque<Task> m_tasks ZUV_GUARDED_BY(m_mutex);
    EventSource m_source; ///< last, so that the loop calls nothing while the other members are destroyed
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_LOOP_TASKS_H
