#include "timeline.h"

#include <cstdio>

void Timeline::show(Clock::time_point when, const std::string& who, const std::string& what) const {
    const double seconds = std::chrono::duration<double>(when - m_begin).count();
    std::printf("%8.3f s  %-8s %s\n", seconds, who.c_str(), what.c_str());
    std::fflush(stdout);
}
