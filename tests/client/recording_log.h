// The platform's logging facility, as the tests provide it: every line goes into the journal.
#ifndef ZUV_TESTS_CLIENT_RECORDING_LOG_H
#define ZUV_TESTS_CLIENT_RECORDING_LOG_H

#include <functional>
#include <string>

namespace velmora::test {

struct RecordingLog {
    /// The level that is wanted up to; lines of a higher number are refused when the client asks.
    unsigned wantedUpTo = 0xFFFF;
    /// Called with every line, on the thread that put it out, after it was recorded; what it throws reaches
    /// the client.
    std::function<void(const std::string& line)> onLine;
};

RecordingLog& recordingLog();

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_RECORDING_LOG_H
