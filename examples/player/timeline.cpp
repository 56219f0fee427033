#include "timeline.h"

#include <cstdio>

void Timeline::show(const std::string& what) const {
    std::printf("%8.3f s  %s\n", secondsUntil(Clock::now()), what.c_str());
    std::fflush(stdout);
}

void Timeline::note(Clock::time_point when, const std::string& who, const std::string& what) const {
    std::fprintf(stderr, "%8.3f s  %-8s %s\n", secondsUntil(when), who.c_str(), what.c_str());
}

double Timeline::secondsUntil(Clock::time_point when) const {
    return std::chrono::duration<double>(when - m_begin).count();
}
