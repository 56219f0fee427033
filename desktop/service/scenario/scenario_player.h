// Plays a scenario on the answers of the service.
#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_PLAYER_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_PLAYER_H

#include "base/event_loop.h"
#include "service/event_publisher.h"
#include "service/event_sink.h"
#include "service/scenario/scenario.h"

#include <cstdint>
#include <functional>
#include <list>
#include <vector>

namespace velmora::desktop {

/// A decorator of the publisher: replaces the answers that a rule of the scenario applies to by the steps of that
/// rule, and passes everything else on. One thread, the loop's.
class ScenarioPlayer final : public EventSink {
public:
    /// Carries out an action of the scenario.
    using Perform = std::function<void(ServiceAction)>;

    /// @param loop and publisher outlive this.
    ScenarioPlayer(sd_event* loop, Scenario scenario, EventPublisher& publisher, Perform perform);
    ScenarioPlayer(const ScenarioPlayer&) = delete;
    ScenarioPlayer& operator=(const ScenarioPlayer&) = delete;

    /// Commands count in the order of these calls.
    void publishAnswer(CommandName command, Event answer) override;
    void publishRefusal(Event refusal) override;
    void publishNews(Event news, std::weak_ptr<const void> subject) override;

private:
    enum class State { Ready, AwaitsTime, AwaitsAnswers };

    /// The steps for one answer, and how far they have got.
    struct Performance {
        ScenarioPlayer& player;
        Event answer;
        const std::vector<Step>& steps;
        std::size_t next = 0;
        State state = State::Ready;
        std::uint64_t awaitedAnswers = 0;
        EventSource timer = nullptr;
    };

    const Rule* ruleFor(CommandName command, const Event& answer);
    void proceed();
    bool canProceed(const Performance& performance) const;
    void proceedWith(Performance& performance);
    void take(Performance& performance, const Delivery& delivery);
    void take(Performance& performance, const Wait& wait);
    void take(Performance& performance, ServiceAction action);
    static int onTimer(sd_event_source* source, uint64_t time, void* performance);

    sd_event* m_loop;
    const Scenario m_scenario;
    EventPublisher& m_publisher;
    const Perform m_perform;
    std::vector<int> m_counts; ///< for each rule, the commands that it is about
    std::uint64_t m_answers = 0;
    std::list<Performance> m_performances;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_PLAYER_H
