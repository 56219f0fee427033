#include "trace/replay/script_player.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/protocol/wire_format.h"

#include <chrono>
#include <ctime>
#include <utility>

namespace velmora::replay {

namespace {

namespace command_entry = desktop::command_entry;
namespace event_entry = desktop::event_entry;

std::string entry(const std::vector<std::string>& values, std::size_t position) {
    return position < values.size() ? values[position] : "";
}

std::uint64_t now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(time).count());
}

std::uint64_t dueTime(std::uint64_t began, const Step& step) {
    return began + static_cast<std::uint64_t>(std::chrono::microseconds(step.after).count());
}

void replaceAll(std::string& text, const std::string& old, const std::string& replacement) {
    for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + replacement.size()))
        text.replace(at, old.size(), replacement);
}

} // namespace

ScriptPlayer::ScriptPlayer(sd_event* loop, const Life& life, desktop::EventPublisher& publisher, Perform perform)
    : m_loop(loop), m_life(life), m_publisher(publisher), m_perform(std::move(perform)),
      m_hasCome(life.commands.size()) {}

void ScriptPlayer::begin() {
    perform(m_life.beginning);
}

void ScriptPlayer::onCommand(const std::vector<std::string>& values) {
    const std::string name = entry(values, command_entry::kName);
    const std::string kind = entry(values, command_entry::kKind);
    const Command* recorded = recordedCommand(name, kind);
    if (recorded == nullptr) {
        desktop::logWarning("not in the recording, and not answered: command={} kind={}", desktop::inQuotes(name),
                            desktop::inQuotes(kind));
        return;
    }
    if (!recorded->session.empty())
        m_sessions[recorded->session] = entry(values, command_entry::kSession);
    perform(recorded->steps);
}

const Command* ScriptPlayer::recordedCommand(const std::string& name, const std::string& kind) {
    for (std::size_t i = 0; i < m_hasCome.size(); ++i) {
        const Command& command = m_life.commands[i];
        if (m_hasCome[i] || command.name != name || command.kind != kind)
            continue;
        m_hasCome[i] = true;
        return &command;
    }
    return nullptr;
}

void ScriptPlayer::perform(const std::vector<Step>& steps) {
    const auto performance = m_performances.insert(m_performances.end(), {*this, steps, now()});
    if (proceed(*performance))
        m_performances.erase(performance);
}

/// Takes the steps that are due, and waits for the next. @return whether there are no more.
bool ScriptPlayer::proceed(Performance& performance) {
    while (performance.next < performance.steps.size()) {
        const Step& step = performance.steps[performance.next];
        const std::uint64_t due = dueTime(performance.began, step);
        if (now() < due) {
            sd_event_source* timer = nullptr;
            desktop::requireSuccess(sd_event_add_time(m_loop, &timer, CLOCK_MONOTONIC, due, 1, onTimer, &performance),
                                    "cannot make a timer");
            performance.timer.reset(timer);
            return false;
        }
        ++performance.next;
        std::visit([this](const auto& action) { take(action); }, step.action);
    }
    return true;
}

void ScriptPlayer::take(const desktop::EventOutput& event) {
    desktop::EventOutput output = event;
    if (output.bus)
        output.bus = withSession(*output.bus);
    if (output.memory)
        output.memory = withSessions(*output.memory);
    m_publisher.sendAnswer(output);
}

void ScriptPlayer::take(End end) {
    m_perform(end);
}

std::vector<std::string> ScriptPlayer::withSession(std::vector<std::string> values) const {
    const auto session = m_sessions.find(entry(values, event_entry::kSession));
    if (session != m_sessions.end())
        values[event_entry::kSession] = session->second;
    return values;
}

/// Replaces whole strings of the text, which need not be valid JSON.
std::string ScriptPlayer::withSessions(std::string text) const {
    for (const auto& [recorded, current] : m_sessions)
        replaceAll(text, '"' + recorded + '"', '"' + current + '"');
    return text;
}

int ScriptPlayer::onTimer(sd_event_source*, uint64_t, void* performance) {
    auto& waiting = *static_cast<Performance*>(performance);
    ScriptPlayer& player = waiting.player;
    if (player.proceed(waiting))
        player.m_performances.remove_if([&waiting](const Performance& each) { return &each == &waiting; });
    return 0;
}

} // namespace velmora::replay
