// What is sent for an event that a scenario distorts.
#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_DELIVERY_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_DELIVERY_H

#include "service/event_publisher.h"
#include "service/scenario/scenario.h"

#include <string>
#include <vector>

namespace velmora::desktop {

/// What is sent for an answer, each time that the delivery sends it.
EventOutput outputOf(const Event& answer, const Delivery& delivery);

/// The list of the delivery.
/// @param event the proper list.
std::vector<std::string> deliveredValues(std::vector<std::string> event, const Delivery& delivery);

/// The text in shared memory for a list. A text as long as the region is not followed by a zero byte.
/// @param size of the region, in bytes.
std::string memoryText(const std::vector<std::string>& values, MemoryForm form, std::size_t size);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_DELIVERY_H
