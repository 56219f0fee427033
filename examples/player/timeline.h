// What happened, in the order in which it happened, for a person to read.
#ifndef ZUV_EXAMPLES_PLAYER_TIMELINE_H
#define ZUV_EXAMPLES_PLAYER_TIMELINE_H

#include <chrono>
#include <string>

/// Writes one line an event to the standard output: seconds since the timeline began, who, what.
class Timeline {
public:
    using Clock = std::chrono::steady_clock;

    void show(const std::string& who, const std::string& what) const { show(Clock::now(), who, what); }

    /// For what happened earlier than it is shown: news waits in a queue between its callback and the player.
    void show(Clock::time_point when, const std::string& who, const std::string& what) const;

private:
    Clock::time_point m_begin = Clock::now();
};

#endif // ZUV_EXAMPLES_PLAYER_TIMELINE_H
