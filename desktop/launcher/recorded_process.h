// The launcher's children in the recording, if this run has one.
#ifndef ZUV_DESKTOP_LAUNCHER_RECORDED_PROCESS_H
#define ZUV_DESKTOP_LAUNCHER_RECORDED_PROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::desktop {

/// @param command the program and its arguments.
void recordStart(pid_t process, const std::vector<std::string>& command);

/// Waits for a child as waitpid() does, and records its end.
pid_t waitAndRecord(pid_t process, int options);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_RECORDED_PROCESS_H
