// A remote object, its proxy, and the answers that it owes.
#ifndef ZUV_ENGINE_REMOTE_OBJECT_H
#define ZUV_ENGINE_REMOTE_OBJECT_H

#include "host_loop.h"
#include "service_event.h"
#include "zuv_media_proxy.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace velmora::engine {

/// One remote object. It carries its commands out one after the other, so its answers come in the order of the
/// commands, and no answer needs to say which command it is for. One thread.
class RemoteObject {
public:
    using Command = std::function<void(ZUVMediaProxyInterface& proxy)>;
    /// Takes the answer of a command: the event of a success, or the error of a failure.
    using Handler = std::function<void(const Outcome<ServiceEvent>& answer)>;

    explicit RemoteObject(std::shared_ptr<ZUVMediaProxyInterface> proxy) : m_proxy(std::move(proxy)) {}

    /// Runs a command that is not answered.
    void call(const Command& command) const;

    /// Runs a command that is answered by an event of this name.
    /// @param ticket for giveUpOn(); 0 if nobody will.
    void send(const Command& command, std::string answer, Ticket ticket, Handler handler);

    /// Takes the texts of "definition" events from now on; an empty function ignores them.
    void listen(std::function<void(const std::string& text)> listener) { m_listener = std::move(listener); }

    /// Does not wait for the answer to this command any more. If it comes all the same, a later command of the same
    /// kind takes it for its own, and the answer after it is ignored.
    void giveUpOn(Ticket ticket);

    /// Answers every command that waits, with this error.
    void abandon(const MediaError& error);

    void onEvent(const ServiceEvent& event);

    /// Whether every command has been answered.
    bool isSettled() const { return m_waiting.empty() && !m_hasUnanswered; }

    bool wasUsedBefore() const { return m_wasUsedBefore; }
    void markUsed() { m_wasUsedBefore = true; }

    std::chrono::steady_clock::time_point madeAt() const { return m_madeAt; }

private:
    struct Waiting {
        std::string answer;
        Ticket ticket;
        Handler handler;
    };

    const std::shared_ptr<ZUVMediaProxyInterface> m_proxy;
    const std::chrono::steady_clock::time_point m_madeAt = std::chrono::steady_clock::now();
    std::function<void(const std::string& text)> m_listener;
    std::deque<Waiting> m_waiting;
    bool m_hasUnanswered = false;
    bool m_wasUsedBefore = false;
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_REMOTE_OBJECT_H
