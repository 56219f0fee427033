// The log of a program as a part of a recording.
#ifndef ZUV_DESKTOP_LOG_RECORDED_LOG_H
#define ZUV_DESKTOP_LOG_RECORDED_LOG_H

namespace velmora::desktop {

/// If ZUV_TRACE_FILE names a recording, has desktopLog() write each of its lines into that as well, beside the
/// program's beginning and its orderly end. For programs, before they start threads.
/// @param role what the program is in a run, see trace/recorder/recording_writer.h.
void recordDesktopLog(const char* role);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LOG_RECORDED_LOG_H
