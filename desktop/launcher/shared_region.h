// What a run leaves in a /dev/shm that it shares.
#ifndef ZUV_DESKTOP_LAUNCHER_SHARED_REGION_H
#define ZUV_DESKTOP_LAUNCHER_SHARED_REGION_H

namespace velmora::desktop {

/// Removes the service's event region, unless it belongs to another user or a service still uses it. Applications that
/// have it mapped keep it, but see no events of a later service in it.
void removeUnusedRegion();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_SHARED_REGION_H
