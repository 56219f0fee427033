#include "service/scenario/scenario_player.h"

#include <spdlog/spdlog.h>

#include <ctime>

namespace velmora::desktop {

namespace {

const std::vector<Step> kAnswerOnly{Delivery{}};

bool isAbout(const Rule& rule, const Event& answer) {
    return (!rule.command || rule.command == answer.command) && (!rule.kind || rule.kind == answer.kind);
}

} // namespace

ScenarioPlayer::ScenarioPlayer(sd_event* loop, Scenario scenario, Handlers handlers)
    : m_loop(loop), m_scenario(std::move(scenario)), m_handlers(std::move(handlers)),
      m_counts(m_scenario.rules.size()) {}

void ScenarioPlayer::play(const Event& answer) {
    m_performances.push_back({*this, answer, stepsFor(answer)});
    proceed();
}

/// Every rule counts, also where an earlier one applies.
const std::vector<Step>& ScenarioPlayer::stepsFor(const Event& answer) {
    const std::vector<Step>* steps = nullptr;
    for (std::size_t i = 0; i < m_counts.size(); ++i) {
        const Rule& rule = m_scenario.rules[i];
        if (!isAbout(rule, answer))
            continue;
        const int count = ++m_counts[i];
        if (steps == nullptr && rule.nth.value_or(count) == count)
            steps = &rule.steps;
    }
    if (steps != nullptr)
        spdlog::info("scenario applies to the answer name={} session={:?}", answer.name, answer.session);
    return steps == nullptr ? kAnswerOnly : *steps;
}

/// One that goes on can deliver the answer that another waits for: after each, they are all looked at again.
void ScenarioPlayer::proceed() {
    auto performance = m_performances.begin();
    while (performance != m_performances.end()) {
        if (!canProceed(*performance)) {
            ++performance;
            continue;
        }
        proceedWith(*performance);
        if (performance->state == State::Ready)
            m_performances.erase(performance);
        performance = m_performances.begin();
    }
}

bool ScenarioPlayer::canProceed(const Performance& performance) const {
    return performance.state == State::Ready ||
           (performance.state == State::AwaitsAnswers && m_answers >= performance.awaitedAnswers);
}

/// To the end, where it is ready still, or to the next wait.
void ScenarioPlayer::proceedWith(Performance& performance) {
    performance.state = State::Ready;
    while (performance.state == State::Ready && performance.next < performance.steps.size()) {
        const Step& step = performance.steps[performance.next++];
        std::visit([&](const auto& each) { take(performance, each); }, step);
    }
}

void ScenarioPlayer::take(Performance& performance, const Delivery& delivery) {
    m_handlers.deliver(performance.answer, delivery);
    if (delivery.isAnswer)
        ++m_answers;
}

void ScenarioPlayer::take(Performance& performance, const Wait& wait) {
    if (wait.answers > 0) {
        performance.state = State::AwaitsAnswers;
        performance.awaitedAnswers = m_answers + static_cast<std::uint64_t>(wait.answers);
        return;
    }
    const auto microseconds = std::chrono::microseconds(wait.time).count();
    sd_event_source* timer = nullptr;
    requireSuccess(sd_event_add_time_relative(m_loop, &timer, CLOCK_MONOTONIC, static_cast<uint64_t>(microseconds), 1,
                                              onTimer, &performance),
                   "cannot make a timer");
    performance.timer.reset(timer);
    performance.state = State::AwaitsTime;
}

void ScenarioPlayer::take(Performance&, ServiceAction action) {
    m_handlers.perform(action);
}

int ScenarioPlayer::onTimer(sd_event_source*, uint64_t, void* performance) {
    auto& waiting = *static_cast<Performance*>(performance);
    ScenarioPlayer& player = waiting.player;
    waiting.state = State::Ready;
    player.proceed();
    return 0;
}

} // namespace velmora::desktop
