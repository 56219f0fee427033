// The actions of a scenario that concern the whole service.
#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SERVICE_ACTION_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SERVICE_ACTION_H

#include "service/ipc/event_region.h"
#include "service/scenario/scenario.h"

namespace velmora::desktop {

/// Applies the action to this process or to the region.
/// @throws std::system_error when the region cannot be recreated.
void perform(ServiceAction action, EventRegion& region);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SERVICE_ACTION_H
