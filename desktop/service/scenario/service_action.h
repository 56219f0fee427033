#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SERVICE_ACTION_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SERVICE_ACTION_H

#include "service/ipc/event_region.h"
#include "service/scenario/scenario.h"

namespace velmora::desktop {

/// Does to this process, or to its region, what the scenario says.
/// @throws std::system_error when the region cannot be made anew.
void perform(ServiceAction action, EventRegion& region);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SERVICE_ACTION_H
