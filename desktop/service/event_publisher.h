#ifndef ZUV_DESKTOP_SERVICE_EVENT_PUBLISHER_H
#define ZUV_DESKTOP_SERVICE_EVENT_PUBLISHER_H

#include "base/loop_tasks.h"
#include "service/event_sink.h"
#include "service/ipc/event_region.h"
#include "service/scenario/scenario_player.h"

#include <chrono>
#include <functional>
#include <list>
#include <string>
#include <vector>

namespace velmora::desktop {

/// The one writer of events: each goes into shared memory and then out on the bus, both on the loop's thread,
/// so that both channels have the same order. Where a scenario has something else in store for an answer, it
/// happens here.
class EventPublisher final : public EventSink {
public:
    /// Puts the values out on the bus. Called on the loop's thread.
    using Send = std::function<void(const std::vector<std::string>&)>;

    /// News goes out no sooner than this after the answer before it: a client polls for an answer for up to
    /// 250 ms.
    static constexpr std::chrono::milliseconds kNewsDelay{400};
    /// Nor sooner than this after any other answer: a client that polls looks every 50 ms.
    static constexpr std::chrono::milliseconds kAnswerHold{100};

    /// Carries out a action of the scenario's. Called on the loop's thread.
    using Perform = std::function<void(ServiceAction)>;

    /// @param loop and region outlive this.
    EventPublisher(sd_event* loop, EventRegion& region, Send send, Scenario scenario = {}, Perform perform = {});
    EventPublisher(const EventPublisher&) = delete;
    EventPublisher& operator=(const EventPublisher&) = delete;

    void publish(Event event) override;
    void publishOnBusOnly(Event event) override;
    void publishLater(Event event, std::weak_ptr<const void> subject) override;

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
    void deliver(const Event& event, const Delivery& delivery);
    void writeRegion(const std::vector<std::string>& values, MemoryForm form);

    // All of this is the loop thread's alone.
    EventRegion& m_region;
    const Send m_send;
    Clock::time_point m_lastAnswer;
    std::list<News> m_news; ///< in the order in which it becomes due
    EventSource m_timer;
    ScenarioPlayer m_player;
    LoopTasks m_tasks; ///< last: nothing comes in while the rest ends
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_EVENT_PUBLISHER_H
