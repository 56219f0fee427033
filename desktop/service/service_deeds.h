#ifndef ZUV_DESKTOP_SERVICE_DEEDS_H
#define ZUV_DESKTOP_SERVICE_DEEDS_H

#include "event_region.h"
#include "scenario.h"

namespace velmora::desktop {

/// Does to this process, or to its region, what the scenario says.
/// @throws std::system_error when the region cannot be made anew.
void perform(Deed deed, EventRegion& region);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_DEEDS_H
