// What this object writes of the process into which it is preloaded.
#ifndef ZUV_TRACE_RECORDER_RECORDER_H
#define ZUV_TRACE_RECORDER_RECORDER_H

#include "trace/recorder/json_line.h"
#include "trace/recorder/recording_writer.h"

namespace velmora::trace {

RecordingWriter& recording();

inline int64_t since(uint64_t time) {
    return static_cast<int64_t>(now() - time);
}

/// The line of a call that ends when this is destroyed, also by an exception: "d" is how long it took.
class CallLine {
public:
    explicit CallLine(const char* kind) noexcept : m_line(kind) {}
    ~CallLine() {
        const Unnoticed recorded;
        m_line.number("d", since(m_line.time()));
        recording().write(m_line);
    }
    CallLine(const CallLine&) = delete;
    CallLine& operator=(const CallLine&) = delete;

    JsonLine* operator->() { return &m_line; }

private:
    JsonLine m_line;
};

} // namespace velmora::trace

#endif // ZUV_TRACE_RECORDER_RECORDER_H
