#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_PLAYER_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_PLAYER_H

#include "base/event_loop.h"
#include "service/protocol/event.h"
#include "service/scenario/scenario.h"

#include <cstdint>
#include <functional>
#include <list>

namespace velmora::desktop {

/// Stands between the answers of the service and what comes of them: most are delivered, and what a scenario
/// says happens in place of the others. One thread, the loop's.
class ScenarioPlayer {
public:
    struct Handlers {
        std::function<void(const Event& answer, const Delivery& delivery)> deliver;
        std::function<void(ServiceAction)> perform;
    };

    /// @param loop outlives this.
    ScenarioPlayer(sd_event* loop, Scenario scenario, Handlers handlers);
    ScenarioPlayer(const ScenarioPlayer&) = delete;
    ScenarioPlayer& operator=(const ScenarioPlayer&) = delete;

    /// Takes the answer to a command. Commands count in the order in which their answers come here.
    void play(const Event& answer);

private:
    enum class State { Ready, AwaitsTime, AwaitsAnswers };

    /// The steps for one answer, as far as they have got.
    struct Performance {
        ScenarioPlayer& player;
        Event answer;
        const std::vector<Step>& steps;
        std::size_t next = 0;
        State state = State::Ready;
        std::uint64_t awaitedAnswers = 0;
        EventSource timer = nullptr;
    };

    const std::vector<Step>& stepsFor(const Event& answer);
    void proceed();
    bool canProceed(const Performance& performance) const;
    void proceedWith(Performance& performance);
    void take(Performance& performance, const Delivery& delivery);
    void take(Performance& performance, const Wait& wait);
    void take(Performance& performance, ServiceAction action);
    static int onTimer(sd_event_source* source, uint64_t time, void* performance);

    sd_event* m_loop;
    const Scenario m_scenario;
    const Handlers m_handlers;
    std::vector<int> m_counts; ///< for each rule, the commands that it is about
    std::uint64_t m_answers = 0;
    std::list<Performance> m_performances;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_PLAYER_H
