#include "service/command_backlog.h"

#include "log/desktop_log.h"

#include <system_error>

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
    if (m_current != nullptr)
        m_current->consider(command);
    m_commands.push_back(std::move(command));
}

Command CommandBacklog::take() {
    const MutexLock lock(m_mutex);
    Command command = std::move(m_commands.front());
    m_commands.pop_front();
    return command;
}

CommandInProgress::CommandInProgress(CommandBacklog& backlog, const Command& command,
                                     std::chrono::milliseconds patience, const std::stop_token& stop)
    : m_backlog(backlog), m_command(command), m_limit(std::chrono::steady_clock::now() + patience),
      m_passOn(stop, [this] { m_stop.request_stop(); }) {
    const MutexLock lock(m_backlog.m_mutex);
    m_backlog.m_current = this;
    for (const Command& waiting : m_backlog.m_commands)
        consider(waiting);
}

CommandInProgress::~CommandInProgress() {
    const MutexLock lock(m_backlog.m_mutex);
    m_backlog.m_current = nullptr;
    m_ended = true;
    m_backlog.m_changed.notifyAll();
}

std::optional<CommandName> CommandInProgress::givenUpFor() {
    const MutexLock lock(m_backlog.m_mutex);
    return m_givenUpFor;
}

/// On the thread that adds the command, or on that of this one. The backlog's mutex is held, which the compiler cannot
/// check, since it does not know that m_backlog is the backlog that calls.
void CommandInProgress::consider(const Command& later) {
    if (m_watcher.joinable() || !makesPointless(later, m_command))
        return;
    try {
        m_watcher = std::jthread([this, name = later.name] { giveUpIfItHangs(name); });
    } catch (const std::system_error& error) {
        logWarning("cannot watch a command, which may hang: {}", error.what());
    }
}

void CommandInProgress::giveUpIfItHangs(CommandName later) {
    {
        const MutexLock lock(m_backlog.m_mutex);
        const auto hasEnded = [this]() ZUV_REQUIRES(m_backlog.m_mutex) { return m_ended; };
        const auto rest = m_limit - std::chrono::steady_clock::now();
        if (m_backlog.m_changed.waitFor(m_backlog.m_mutex, rest, hasEnded))
            return;
        m_givenUpFor = later;
    }
    m_stop.request_stop();
}

} // namespace velmora::desktop
