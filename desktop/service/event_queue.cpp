#include "service/event_queue.h"

#include <utility>

namespace velmora::desktop {

void EventQueue::publishAnswer(CommandName command, Event answer) {
    m_tasks.post([this, command, answer = std::move(answer)] { m_next.publishAnswer(command, answer); });
}

void EventQueue::publishRefusal(Event refusal) {
    m_tasks.post([this, refusal = std::move(refusal)] { m_next.publishRefusal(refusal); });
}

void EventQueue::publishNews(Event news, std::weak_ptr<const void> subject) {
    m_tasks.post([this, news = std::move(news), subject = std::move(subject)] { m_next.publishNews(news, subject); });
}

} // namespace velmora::desktop
