// Writes a process's lines to a recording, to which all processes of a run append. docs/recordings.md has the format.
#ifndef ZUV_TRACE_RECORDER_RECORDING_WRITER_H
#define ZUV_TRACE_RECORDER_RECORDING_WRITER_H

#include "trace/recorder/json_line.h"

#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora::trace {

inline constexpr const char* kFileVariable = "ZUV_TRACE_FILE";
inline constexpr const char* kLimitVariable = "ZUV_TRACE_LIMIT";
inline constexpr uint64_t kDefaultLimit = uint64_t{64} << 20;
inline constexpr uint64_t kLowestLimit = uint64_t{1} << 20;

/// Where descriptors are put, if there is one left: programs notice which ones are the lowest.
inline constexpr int kHighDescriptor = 900;

/// What a process is in a run.
namespace role {
inline constexpr const char* kApplication = "application";
inline constexpr const char* kService = "service";
inline constexpr const char* kLauncher = "launcher";
inline constexpr const char* kKeeper = "keeper";
} // namespace role

/// While it exists, recording leaves no trace in its thread: errno is restored, and the thread is not cancelled where
/// the program itself would not be.
class Unnoticed {
public:
    Unnoticed() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState); }
    ~Unnoticed() {
        pthread_setcancelstate(m_cancelState, nullptr);
        errno = m_error;
    }
    Unnoticed(const Unnoticed&) = delete;
    Unnoticed& operator=(const Unnoticed&) = delete;

private:
    int m_error = errno;
    int m_cancelState = 0;
};

/// A process has one at a time. Nothing but the constructor throws. Any thread may write; a line of a signal handler
/// that interrupts another line is lost.
///
/// The file is opened with the first line, and begins with what the process is. A line is one write(2) at the file's
/// end, so that the lines of several processes do not mix, and what was written stays when the process is killed. A
/// file that cannot be opened is reported on stderr once, and nothing is recorded. Lines that cannot be written are
/// counted, and the count is written when there is room again.
class RecordingWriter {
public:
    /// @param file empty: nothing is recorded.
    /// @param limit bytes, at least kLowestLimit. At half of it the file becomes FILE.old, and a new one begins; every
    ///     process notices within 10 ms.
    /// @param role what the process is, see above; outlives this.
    RecordingWriter(const std::string& file, uint64_t limit, const char* role);
    ~RecordingWriter();
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

    /// Writes what the process is, if no line has yet.
    void begin() noexcept;

    /// Finishes and writes a line. errno stays as it is.
    void write(JsonLine& line) noexcept;

    /// Writes the line that says that the process ends, if it has written any. Later lines are ignored.
    void end() noexcept;

    /// The process's recording, as ZUV_TRACE_FILE and ZUV_TRACE_LIMIT say at the first call. Never destroyed, because
    /// threads may record until the process ends.
    static RecordingWriter& ofProcess(const char* role);

private:
    enum class State { unopened, opened, givenUp, ended };

    static void onFork();
    void writeLocked(JsonLine& line);
    bool isReady(uint64_t time);
    bool isCheckDue() const;
    bool checkFile();
    void rememberCheck(int64_t size);
    bool openFirst();
    bool open();
    bool isOurs(uint64_t device, uint64_t number) const;
    bool makeRoom();
    bool moveAside() const;
    bool writeBegin(uint64_t time);
    bool writeLost();
    bool append(std::string_view bytes);

    const std::string m_file;
    const std::string m_oldFile;
    const int64_t m_half;
    const char* const m_role;
    pthread_mutex_t m_mutex;
    // With m_mutex:
    State m_state;
    uint64_t m_started;    ///< when the process started, or was forked
    int m_descriptor = -1; ///< keeps its number when the file is replaced
    uint64_t m_device = 0; ///< with m_number: identifies the file
    uint64_t m_number = 0;
    int64_t m_size = 0;         ///< of the file at the last look, and what this process has added since
    int64_t m_nextCheck = 0;    ///< the size at which to look at the file again
    uint64_t m_checked = 0;     ///< when the file was looked at last
    int64_t m_largest;          ///< the file size at which the process would be sent SIGXFSZ
    bool m_hasBegun = false;    ///< whether this file has the process's first line
    bool m_isContinued = false; ///< whether an earlier file has it
    bool m_isTorn = false;      ///< whether the file ends in a part of a line
    int64_t m_lost = 0;
};

} // namespace velmora::trace

#endif // ZUV_TRACE_RECORDER_RECORDING_WRITER_H
