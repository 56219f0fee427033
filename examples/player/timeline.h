// Prints the player's events in chronological order.
#ifndef ZUV_EXAMPLES_PLAYER_TIMELINE_H
#define ZUV_EXAMPLES_PLAYER_TIMELINE_H

#include <chrono>
#include <string>

/// Writes one line for each event to standard output: the seconds since the timeline began, who, and what.
class Timeline {
public:
    using Clock = std::chrono::steady_clock;

    void show(const std::string& who, const std::string& what) const { show(Clock::now(), who, what); }

    /// For an event that happened earlier: notifications wait in a queue between their callback and the player.
    void show(Clock::time_point when, const std::string& who, const std::string& what) const;

private:
    Clock::time_point m_begin = Clock::now();
};

#endif // ZUV_EXAMPLES_PLAYER_TIMELINE_H
