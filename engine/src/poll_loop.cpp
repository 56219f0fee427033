#include "zuv_poll_loop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <deque>
#include <mutex>
#include <system_error>
#include <utility>

namespace velmora {

using Task = std::function<void()>;

struct PollLoop::Queue {
    Queue() : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        if (descriptor < 0)
            throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    ~Queue() { close(descriptor); }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    void add(Task task) {
        const std::lock_guard lock(mutex);
        if (isClosed)
            return;
        tasks.push_back(std::move(task));
        eventfd_write(descriptor, 1);
    }

    std::size_t size() {
        const std::lock_guard lock(mutex);
        return tasks.size();
    }

    /// @return an empty function when there is no task.
    Task takeFirst() {
        const std::lock_guard lock(mutex);
        if (tasks.empty())
            return nullptr;
        Task task = std::move(tasks.front());
        tasks.pop_front();
        eventfd_t count = 0;
        if (tasks.empty())
            eventfd_read(descriptor, &count);
        return task;
    }

    const int descriptor;
    std::mutex mutex; // guards the rest
    std::deque<Task> tasks;
    bool isClosed = false;
};

PollLoop::PollLoop() : m_queue(std::make_shared<Queue>()) {}

PollLoop::~PollLoop() {
    std::deque<Task> dropped; // destroyed without the lock
    const std::lock_guard lock(m_queue->mutex);
    m_queue->isClosed = true;
    dropped.swap(m_queue->tasks);
}

MediaSession::PostFunction PollLoop::post() const {
    return [queue = m_queue](Task task) { queue->add(std::move(task)); };
}

int PollLoop::descriptor() const {
    return m_queue->descriptor;
}

// A task may dispatch others, throw, or destroy the loop.
void PollLoop::dispatch() {
    const std::shared_ptr<Queue> queue = m_queue;
    for (std::size_t left = queue->size(); left > 0; --left)
        if (const Task task = queue->takeFirst())
            task();
}

} // namespace velmora
