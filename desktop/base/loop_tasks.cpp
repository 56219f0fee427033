#include "base/loop_tasks.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <utility>

namespace velmora::desktop {

LoopTasks::LoopTasks(sd_event* loop) : m_wake(makeEventDescriptor()) {
    sd_event_source* source = nullptr;
    requireSuccess(sd_event_add_io(loop, &source, m_wake.get(), EPOLLIN, onWake, this), "cannot watch an eventfd");
    m_source.reset(source);
}

void LoopTasks::post(Task task) {
    {
        const MutexLock lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    eventfd_write(m_wake.get(), 1);
}

int LoopTasks::onWake(sd_event_source*, int descriptor, uint32_t, void* tasks) {
    eventfd_t count = 0;
    eventfd_read(descriptor, &count);
    static_cast<LoopTasks*>(tasks)->runAll();
    return 0;
}

void LoopTasks::runAll() {
    std::deque<Task> tasks;
    {
        const MutexLock lock(m_mutex);
        tasks.swap(m_tasks);
    }
    for (const Task& task : tasks)
        task();
}

} // namespace velmora::desktop
