// The commands that wait for a media object, and the end of one that hangs while a later one makes it pointless.
#ifndef ZUV_DESKTOP_SERVICE_COMMAND_BACKLOG_H
#define ZUV_DESKTOP_SERVICE_COMMAND_BACKLOG_H

#include "base/mutex.h"
#include "service/protocol/command.h"

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <stop_token>
#include <thread>

namespace velmora::desktop {

class CommandInProgress;

/// The commands of one object that have not begun. Any thread.
class CommandBacklog {
public:
    void add(Command command) ZUV_EXCLUDES(m_mutex);

    /// Removes the first command, which must exist.
    Command take() ZUV_EXCLUDES(m_mutex);

private:
    friend class CommandInProgress;

    Mutex m_mutex;
    ConditionVariable m_changed;
    std::deque<Command> m_commands ZUV_GUARDED_BY(m_mutex);
    CommandInProgress* m_current ZUV_GUARDED_BY(m_mutex) = nullptr;
};

/// A command while it is carried out. It hangs if it takes longer than its patience. A command that hangs is given up
/// for a later one that makes it pointless: a stop, a start or a preload of the same kind. Exempt is a preload whose
/// medium the later start is to continue. Where no thread can be had to watch it, it lasts as long as it takes. Used on
/// the object's thread, unless something else is said.
class CommandInProgress {
public:
    /// @param backlog must outlive this; it has one command in progress at a time.
    /// @param stop ends the command in any case.
    CommandInProgress(CommandBacklog& backlog, const Command& command, std::chrono::milliseconds patience,
                      const std::stop_token& stop);
    ~CommandInProgress();
    CommandInProgress(const CommandInProgress&) = delete;
    CommandInProgress& operator=(const CommandInProgress&) = delete;

    /// Is requested to stop when the command has to end.
    std::stop_token token() const { return m_stop.get_token(); }

    /// The later command for which this one was given up.
    std::optional<CommandName> givenUpFor();

private:
    friend class CommandBacklog;
    void consider(const Command& later);
    void giveUpIfItHangs(CommandName later);

    CommandBacklog& m_backlog;
    const Command& m_command;
    const std::chrono::steady_clock::time_point m_limit;
    std::stop_source m_stop;
    const std::stop_callback<std::function<void()>> m_passOn;
    bool m_ended ZUV_GUARDED_BY(m_backlog.m_mutex) = false;
    std::optional<CommandName> m_givenUpFor ZUV_GUARDED_BY(m_backlog.m_mutex);
    std::jthread m_watcher; ///< only once a later command makes this one pointless; last, as it uses the other members
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_COMMAND_BACKLOG_H
