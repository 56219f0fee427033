// The memory that the service shares with the client: what it holds when somebody looks at it.
#ifndef ZUV_TRACE_RECORDER_EVENT_REGION_H
#define ZUV_TRACE_RECORDER_EVENT_REGION_H

namespace velmora::trace {

/// Records the region's text, if it has changed since the last look. Does nothing while the region is not mapped.
/// @param seen where it was looked at.
void lookAtRegion(const char* seen) noexcept;

} // namespace velmora::trace

#endif // ZUV_TRACE_RECORDER_EVENT_REGION_H
