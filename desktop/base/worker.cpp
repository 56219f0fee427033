#include "base/worker.h"

namespace velmora::desktop {

void Worker::post(Task task) {
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back(std::move(task));
    if (!m_thread.joinable())
        m_thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
    m_posted.notify_one();
}

void Worker::run(const std::stop_token& stop) {
    std::unique_lock lock(m_mutex);
    while (m_posted.wait(lock, stop, [this] { return !m_tasks.empty(); })) {
        if (stop.stop_requested())
            return;
        Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task(stop);
        task = nullptr; // what a task owns may take long to end: not with the lock held
        lock.lock();
    }
}

} // namespace velmora::desktop
