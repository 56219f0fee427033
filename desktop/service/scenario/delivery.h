#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_DELIVERY_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_DELIVERY_H

#include "service/scenario/scenario.h"

#include <string>
#include <vector>

namespace velmora::desktop {

/// The list that goes out for an event when it is delivered in that way.
std::vector<std::string> deliveredValues(std::vector<std::string> event, const Delivery& delivery);

/// What shared memory is to hold for the list; all of it when it is as long as the region.
/// @param size of the region, in bytes.
std::string memoryText(const std::vector<std::string>& values, MemoryForm form, std::size_t size);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_DELIVERY_H
