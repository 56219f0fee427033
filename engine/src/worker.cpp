#include "worker.h"

#include <pthread.h>

#include <csignal>
#include <thread>

namespace velmora::engine {

namespace {

// Blocks all signals, so that the host's handlers run on its own threads: a new thread inherits this mask.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before{};
};

/// Also destroys the task, and what it has captured, without the lock.
void runUnlocked(Worker::Task& task, std::unique_lock<std::mutex>& lock) {
    lock.unlock();
    task();
    task = nullptr;
    lock.lock();
}

} // namespace

std::shared_ptr<Worker> Worker::start() {
    std::shared_ptr<Worker> worker(new Worker);
    const SignalsBlocked inThread;
    std::thread thread([worker] { worker->run(); });
    pthread_setname_np(thread.native_handle(), "zuv-engine");
    thread.detach();
    return worker;
}

void Worker::post(Task task) {
    const std::lock_guard lock(m_mutex);
    if (m_ending)
        return;
    m_tasks.push_back(std::move(task));
    m_changed.notify_one();
}

void Worker::end(Task last) {
    std::deque<Task> dropped; // destroyed without the lock
    const std::lock_guard lock(m_mutex);
    m_ending = true;
    m_last = std::move(last);
    dropped.swap(m_tasks);
    m_changed.notify_one();
}

Worker::Timer Worker::callAfter(Clock::duration delay, Task task) {
    const Timer timer{Clock::now() + delay, ++m_timersMade};
    m_timers.emplace(timer, std::move(task));
    return timer;
}

void Worker::run() {
    std::unique_lock lock(m_mutex);
    while (!m_ending) {
        if (runNextTask(lock))
            continue;
        if (m_timers.empty())
            m_changed.wait(lock);
        else if (m_changed.wait_until(lock, m_timers.begin()->first.first) == std::cv_status::timeout)
            runDueTimer(lock);
    }
    const Task last = std::move(m_last);
    lock.unlock();
    last();
}

/// @return whether there was one.
bool Worker::runNextTask(std::unique_lock<std::mutex>& lock) {
    if (m_tasks.empty())
        return false;
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    runUnlocked(task, lock);
    return true;
}

// Tasks go first: an answer that has arrived is not late.
void Worker::runDueTimer(std::unique_lock<std::mutex>& lock) {
    if (!m_tasks.empty() || m_ending || m_timers.begin()->first.first > Clock::now())
        return;
    Task task = std::move(m_timers.begin()->second);
    m_timers.erase(m_timers.begin());
    runUnlocked(task, lock);
}

} // namespace velmora::engine
