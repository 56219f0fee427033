#ifndef ZUV_DESKTOP_BASE_LOOP_TASKS_H
#define ZUV_DESKTOP_BASE_LOOP_TASKS_H

#include "base/event_loop.h"
#include "base/file_descriptor.h"

#include <deque>
#include <functional>
#include <mutex>

namespace velmora::desktop {

/// The way from any thread onto the thread of an event loop.
class LoopTasks {
public:
    using Task = std::function<void()>;

    /// @param loop outlives this.
    /// @throws std::system_error
    explicit LoopTasks(sd_event* loop);
    /// Drops the tasks that wait. On the loop's thread.
    ~LoopTasks() = default;
    LoopTasks(const LoopTasks&) = delete;
    LoopTasks& operator=(const LoopTasks&) = delete;

    /// Has the loop carry out the task, after all that were posted before. Never blocks. Any thread.
    void post(Task task);

private:
    static int onWake(sd_event_source* source, int descriptor, uint32_t events, void* tasks);
    void runAll();

    FileDescriptor m_wake; ///< an eventfd
    std::mutex m_mutex;    ///< guards m_tasks
    std::deque<Task> m_tasks;
    EventSource m_source; ///< last: nothing is called while the rest ends
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_LOOP_TASKS_H
