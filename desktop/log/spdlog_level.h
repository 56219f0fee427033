// How the levels of spdlog, in which the platform's own code logs, correspond to those of ZUV_LOG_LEVEL.
#ifndef ZUV_DESKTOP_LOG_SPDLOG_LEVEL_H
#define ZUV_DESKTOP_LOG_SPDLOG_LEVEL_H

#include "log/desktop_log.h"

#include <spdlog/common.h>

namespace velmora::desktop {

inline int levelOf(spdlog::level::level_enum level) {
    switch (level) {
    case spdlog::level::debug:
        return kLogProgress;
    case spdlog::level::info:
        return kLogMilestones;
    default:
        return kLogFailures;
    }
}

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LOG_SPDLOG_LEVEL_H
