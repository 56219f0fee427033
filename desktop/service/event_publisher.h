// Publishes events in shared memory and on the bus.
#ifndef ZUV_DESKTOP_SERVICE_EVENT_PUBLISHER_H
#define ZUV_DESKTOP_SERVICE_EVENT_PUBLISHER_H

#include "base/event_loop.h"
#include "service/event_sink.h"
#include "service/ipc/event_region.h"

#include <chrono>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// What is sent for one event. Without a value, the event is not sent that way.
struct EventOutput {
    /// The text in shared memory. One of EventRegion::kSize bytes leaves no zero byte at its end; a longer one is not
    /// written, which is logged.
    std::optional<std::string> memory;
    std::optional<std::vector<std::string>> bus; ///< the list on the bus
};

/// Writes each event to shared memory and then sends it on the bus, so that events have the same order in both, and
/// logs what it sent. One thread, the loop's.
class EventPublisher final : public EventSink {
public:
    /// Sends the values on the bus. @return whether it could.
    using Send = std::function<bool(const std::vector<std::string>&)>;

    /// News is held back for this long. A client polls for the answer before it for up to 250 ms.
    static constexpr std::chrono::milliseconds kNewsDelay{400};
    /// News is not sent sooner than this after any other answer. A polling client looks every 50 ms.
    static constexpr std::chrono::milliseconds kAnswerHold{100};

    /// @param loop and region outlive this.
    EventPublisher(sd_event* loop, EventRegion& region, Send send);
    EventPublisher(const EventPublisher&) = delete;
    EventPublisher& operator=(const EventPublisher&) = delete;

    void publishAnswer(CommandName command, Event answer) override;
    void publishRefusal(Event refusal) override;
    void publishNews(Event news, std::weak_ptr<const void> subject) override;

    /// Sends something else in place of an answer. News keeps the same distance from it as from an answer.
    void sendAnswer(const EventOutput& output);

private:
    using Clock = std::chrono::steady_clock;

    struct News {
        Event event;
        std::weak_ptr<const void> subject;
        Clock::time_point due;
    };

    static int onTimer(sd_event_source* source, uint64_t time, void* publisher);
    void publishDueNews();
    void setTimer();
    Clock::time_point nextNewsTime() const;
    void send(const EventOutput& output);
    bool writeRegion(const std::string& text);

    EventRegion& m_region;
    const Send m_send;
    Clock::time_point m_lastAnswer;
    std::list<News> m_news; ///< in the order of their due times
    EventSource m_timer;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_EVENT_PUBLISHER_H
