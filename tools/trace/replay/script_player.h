// Plays one life of the recorded service to an application.
#ifndef ZUV_TRACE_REPLAY_SCRIPT_PLAYER_H
#define ZUV_TRACE_REPLAY_SCRIPT_PLAYER_H

#include "base/event_loop.h"
#include "service/event_publisher.h"
#include "trace/replay/script.h"

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

namespace velmora::replay {

/// Takes each command for the first recorded one of its name and kind that has not come yet, and carries out that one's
/// steps. Sessions are the application's, so that they differ from the recorded ones, and are replaced in events;
/// objects are the service's and stay as they were. One thread, the loop's.
class ScriptPlayer {
public:
    /// Ends the process, or stops it.
    using Perform = std::function<void(End)>;

    /// @param loop, life and publisher outlive this.
    ScriptPlayer(sd_event* loop, const Life& life, desktop::EventPublisher& publisher, Perform perform);
    ScriptPlayer(const ScriptPlayer&) = delete;
    ScriptPlayer& operator=(const ScriptPlayer&) = delete;

    /// Carries out the steps that follow no command.
    void begin();

    void onCommand(const std::vector<std::string>& values);

private:
    /// The steps after one command, and how far they have got.
    struct Performance {
        ScriptPlayer& player;
        const std::vector<Step>& steps;
        std::uint64_t began; ///< in microseconds, by CLOCK_MONOTONIC
        std::size_t next = 0;
        desktop::EventSource timer = nullptr;
    };

    const Command* recordedCommand(const std::string& name, const std::string& kind);
    void perform(const std::vector<Step>& steps);
    bool proceed(Performance& performance);
    void take(const desktop::EventOutput& event);
    void take(End end);
    std::vector<std::string> withSession(std::vector<std::string> values) const;
    std::string withSessions(std::string text) const;
    static int onTimer(sd_event_source* source, uint64_t time, void* performance);

    sd_event* m_loop;
    const Life& m_life;
    desktop::EventPublisher& m_publisher;
    const Perform m_perform;
    std::vector<bool> m_hasCome;                   ///< of each recorded command, whether the application has sent it
    std::map<std::string, std::string> m_sessions; ///< the application's, by the recorded ones
    std::list<Performance> m_performances;
};

} // namespace velmora::replay

#endif // ZUV_TRACE_REPLAY_SCRIPT_PLAYER_H
