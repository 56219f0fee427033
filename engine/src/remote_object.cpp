#include "remote_object.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace velmora::engine {

// In synchronous mode, which the host may have chosen, the library's JSON reader can throw after the command was sent.
// The answer comes over the bus all the same.
void RemoteObject::call(const Command& command) const {
    try {
        command(*m_proxy);
    } catch (const std::exception&) {
    }
}

void RemoteObject::send(const Command& command, std::string answer, Ticket ticket, Handler handler) {
    m_waiting.push_back({std::move(answer), ticket, std::move(handler)});
    call(command);
}

void RemoteObject::giveUpOn(Ticket ticket) {
    const auto unanswered = std::ranges::find(m_waiting, ticket, &Waiting::ticket);
    if (unanswered == m_waiting.end())
        return;
    m_waiting.erase(unanswered);
    m_hasUnanswered = true;
}

void RemoteObject::abandon(const MediaError& error) {
    m_hasUnanswered = true;
    m_listener = nullptr;
    for (const Waiting& waiting : std::exchange(m_waiting, {}))
        waiting.handler(error);
}

void RemoteObject::onEvent(const ServiceEvent& event) {
    if (event.name == "definition") {
        if (m_listener)
            m_listener(event.definitions);
        return;
    }
    const auto answered = std::ranges::find(m_waiting, event.name, &Waiting::answer);
    if (answered == m_waiting.end())
        return;
    const Handler handler = std::move(answered->handler);
    m_waiting.erase(answered);
    if (event.succeeded())
        handler(event);
    else
        handler(event.error());
}

} // namespace velmora::engine
