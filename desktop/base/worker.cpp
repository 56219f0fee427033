#include "base/worker.h"

#include <utility>

namespace velmora::desktop {

void Worker::post(Task task) {
    const MutexLock lock(m_mutex);
    m_tasks.push_back(std::move(task));
    if (!m_thread.joinable())
        m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
    m_posted.notifyOne();
}

void Worker::run(const std::stop_token& stop) {
    const MutexLock lock(m_mutex);
    while (m_posted.wait(m_mutex, stop, [this]() ZUV_REQUIRES(m_mutex) { return !m_tasks.empty(); })) {
        if (stop.stop_requested())
            return;
        Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        const MutexUnlock unlock(m_mutex);
        task(stop);
        task = nullptr; // before the mutex is taken again: destroying what the task owns can take long
    }
}

} // namespace velmora::desktop
