#include "service/scenario/scenario_player.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/scenario/delivery.h"

#include <algorithm>
#include <ctime>
#include <utility>
#include <variant>

namespace velmora::desktop {

namespace {

/// Compares words: the kind of a failed command can be any text.
bool isOfKind(const Event& answer, MediaKind kind) {
    const auto* const word = std::ranges::find(kMediaKindWords, answer.kind, &MediaKindWord::text);
    return word != kMediaKindWords.end() && word->kind == kind;
}

bool isAbout(const Rule& rule, CommandName command, const Event& answer) {
    return (!rule.command || rule.command == command) && (!rule.kind || isOfKind(answer, *rule.kind));
}

bool sends(const Rule& rule) {
    return std::ranges::any_of(rule.steps, [](const Step& step) { return std::holds_alternative<Delivery>(step); });
}

} // namespace

ScenarioPlayer::ScenarioPlayer(sd_event* loop, Scenario scenario, EventPublisher& publisher, Perform perform)
    : m_loop(loop), m_scenario(std::move(scenario)), m_publisher(publisher), m_perform(std::move(perform)),
      m_counts(m_scenario.rules.size()) {}

void ScenarioPlayer::publishAnswer(CommandName command, Event answer) {
    if (const Rule* rule = ruleFor(command, answer)) {
        logInfo("scenario applies to the answer name={} session={}{}", answer.name, inQuotes(answer.session),
                sends(*rule) ? "" : ": nothing is sent");
        m_performances.push_back({*this, std::move(answer), rule->steps});
    } else {
        m_publisher.publishAnswer(command, std::move(answer));
        ++m_answers;
    }
    proceed();
}

void ScenarioPlayer::publishRefusal(Event refusal) {
    m_publisher.publishRefusal(std::move(refusal));
}

void ScenarioPlayer::publishNews(Event news, std::weak_ptr<const void> subject) {
    m_publisher.publishNews(std::move(news), std::move(subject));
}

/// The first rule that applies; nullptr when none does. Every rule counts the command, even after one that applies.
const Rule* ScenarioPlayer::ruleFor(CommandName command, const Event& answer) {
    const Rule* applicable = nullptr;
    for (std::size_t i = 0; i < m_counts.size(); ++i) {
        const Rule& rule = m_scenario.rules[i];
        if (!isAbout(rule, command, answer))
            continue;
        const int count = ++m_counts[i];
        if (applicable == nullptr && rule.nth.value_or(count) == count)
            applicable = &rule;
    }
    return applicable;
}

/// A performance can send the answer that another one waits for, so all are looked at again after each.
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

/// Takes steps until one waits, or to the end, where the performance is still ready.
void ScenarioPlayer::proceedWith(Performance& performance) {
    performance.state = State::Ready;
    while (performance.state == State::Ready && performance.next < performance.steps.size()) {
        const Step& step = performance.steps[performance.next++];
        std::visit([&](const auto& each) { take(performance, each); }, step);
    }
}

void ScenarioPlayer::take(Performance& performance, const Delivery& delivery) {
    const EventOutput output = outputOf(performance.answer, delivery);
    for (int i = 0; i < delivery.times; ++i)
        m_publisher.sendAnswer(output);
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
    m_perform(action);
}

int ScenarioPlayer::onTimer(sd_event_source*, uint64_t, void* performance) {
    auto& waiting = *static_cast<Performance*>(performance);
    ScenarioPlayer& player = waiting.player;
    waiting.state = State::Ready;
    player.proceed();
    return 0;
}

} // namespace velmora::desktop
