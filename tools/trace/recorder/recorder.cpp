// libzuv_trace.so, to be preloaded: records what the client, the platform and the application say to each other.
//
//     LD_PRELOAD=libzuv_trace.so ZUV_TRACE_FILE=run.jsonl PROGRAM
//
// It defines the functions of the platform's library under their own names, writes what goes through them, and forwards
// each call. No lock is held while a call is forwarded, errno stays as the forwarded function left it, and exceptions
// pass. A process that calls none of these functions writes nothing.
#include "trace/recorder/recorder.h"

namespace velmora::trace {
namespace {

__attribute__((constructor)) void begin() {
    recording();
}

__attribute__((destructor)) void end() {
    recording().end();
}

} // namespace

RecordingWriter& recording() {
    static RecordingWriter& writer = RecordingWriter::ofProcess(role::kApplication);
    return writer;
}

} // namespace velmora::trace
