#include "host_loop.h"

#include <algorithm>
#include <utility>

namespace velmora::engine {

class HostLoop::Entry {
public:
    explicit Entry(HostLoop& loop) : m_loop(loop) {
        const std::lock_guard lock(loop.m_mutex);
        m_isOpen = !loop.m_closed;
        if (m_isOpen)
            loop.m_running.push_back(std::this_thread::get_id());
    }
    ~Entry() {
        if (!m_isOpen)
            return;
        const std::lock_guard lock(m_loop.m_mutex);
        m_loop.m_running.erase(std::ranges::find(m_loop.m_running, std::this_thread::get_id()));
        m_loop.m_left.notify_all();
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    explicit operator bool() const { return m_isOpen; }

private:
    HostLoop& m_loop;
    bool m_isOpen;
};

HostLoop::HostLoop(MediaSession::PostFunction post, SessionObserver observer)
    : m_post(std::make_shared<MediaSession::PostFunction>(std::move(post))),
      m_observer(std::make_shared<SessionObserver>(std::move(observer))) {}

Ticket HostLoop::keep(std::function<void(const Result&)> completion) {
    const std::lock_guard lock(m_mutex);
    m_completions.emplace(++m_lastTicket, std::move(completion));
    return m_lastTicket;
}

void HostLoop::complete(Ticket ticket, Result result) {
    post([this, ticket, result = std::move(result)] {
        if (const auto completion = take(ticket))
            completion(result);
    });
}

void HostLoop::reportDefinitions(Title title, std::vector<Definition> definitions) {
    post([this, title, definitions = std::move(definitions)] {
        if (const auto observer = m_observer; observer->onDefinitions)
            observer->onDefinitions(title, definitions);
    });
}

void HostLoop::reportLost(Title title, MediaError error) {
    post([this, title, error = std::move(error)] {
        if (const auto observer = m_observer; observer->onLost)
            observer->onLost(title, error);
    });
}

// The host's function is itself a call of the host: after close() it is not called any more either.
void HostLoop::post(std::function<void()> call) {
    const Entry posting(*this);
    if (!posting)
        return;
    const auto post = m_post;
    (*post)([self = shared_from_this(), call = std::move(call)] {
        if (const Entry running(*self); running)
            call();
    });
}

std::function<void(const Result&)> HostLoop::take(Ticket ticket) {
    const std::lock_guard lock(m_mutex);
    auto node = m_completions.extract(ticket);
    return node ? std::move(node.mapped()) : nullptr;
}

void HostLoop::close() {
    // Destroyed at the end, without the lock: what they have captured is the host's.
    std::map<Ticket, std::function<void(const Result&)>> completions;
    std::shared_ptr<const MediaSession::PostFunction> post;
    std::shared_ptr<const SessionObserver> observer;
    std::unique_lock lock(m_mutex);
    m_closed = true;
    m_left.wait(lock, [this] { return !isRunningElsewhere(); });
    completions.swap(m_completions);
    post.swap(m_post);
    observer.swap(m_observer);
    lock.unlock();
}

bool HostLoop::isRunningElsewhere() const {
    return std::ranges::any_of(m_running, [own = std::this_thread::get_id()](auto thread) { return thread != own; });
}

} // namespace velmora::engine
