#include "service/command_backlog.h"

#include <algorithm>

namespace velmora::desktop {

namespace {

bool makesPointless(const Command& later, const Command& current) {
    if (later.kind != current.kind || later.name == CommandName::Seek)
        return false;
    const bool continues = current.name == CommandName::Preload && later.name == CommandName::Start;
    return !continues || later.url != current.url;
}

} // namespace

void CommandBacklog::add(Command command) {
    const MutexLock lock(m_mutex);
    m_commands.push_back(std::move(command));
    m_changed.notifyAll();
}

Command CommandBacklog::take() {
    const MutexLock lock(m_mutex);
    Command command = std::move(m_commands.front());
    m_commands.pop_front();
    return command;
}

std::optional<CommandName> CommandBacklog::successorOf(const Command& command) const {
    const auto later = std::find_if(m_commands.begin(), m_commands.end(),
                                    [&](const Command& waiting) { return makesPointless(waiting, command); });
    return later == m_commands.end() ? std::nullopt : std::optional(later->name);
}

CommandInProgress::CommandInProgress(CommandBacklog& backlog, const Command& command,
                                     std::chrono::milliseconds patience, const std::stop_token& stop)
    : m_backlog(backlog), m_command(command), m_patience(patience), m_passOn(stop, [this] { m_stop.request_stop(); }),
      m_watcher([this] { watch(); }) {}

CommandInProgress::~CommandInProgress() {
    const MutexLock lock(m_backlog.m_mutex);
    m_ended = true;
    m_backlog.m_changed.notifyAll();
}

std::optional<CommandName> CommandInProgress::givenUpFor() {
    const MutexLock lock(m_backlog.m_mutex);
    return m_givenUpFor;
}

void CommandInProgress::watch() {
    {
        const MutexLock lock(m_backlog.m_mutex);
        const auto hasEnded = [this]() ZUV_REQUIRES(m_backlog.m_mutex) { return m_ended; };
        if (m_backlog.m_changed.waitFor(m_backlog.m_mutex, m_patience, hasEnded))
            return;
        m_backlog.m_changed.wait(m_backlog.m_mutex, [this]() ZUV_REQUIRES(m_backlog.m_mutex) {
            m_givenUpFor = m_backlog.successorOf(m_command);
            return m_ended || m_givenUpFor;
        });
        if (m_ended)
            return;
    }
    m_stop.request_stop();
}

} // namespace velmora::desktop
