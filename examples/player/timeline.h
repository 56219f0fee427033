// Prints the player's events in chronological order.
#ifndef ZUV_EXAMPLES_PLAYER_TIMELINE_H
#define ZUV_EXAMPLES_PLAYER_TIMELINE_H

#include <chrono>
#include <string>

/// Writes one line for each event, which begins with the seconds since the timeline began.
class Timeline {
public:
    using Clock = std::chrono::steady_clock;

    /// The story, on standard output: what has been achieved.
    void show(const std::string& what) const;

    /// The details, on standard error beside the log: who did what. An event may have happened earlier: notifications
    /// wait in a queue between their callback and the player.
    void note(Clock::time_point when, const std::string& who, const std::string& what) const;

private:
    double secondsUntil(Clock::time_point when) const;

    Clock::time_point m_begin = Clock::now();
};

#endif // ZUV_EXAMPLES_PLAYER_TIMELINE_H
