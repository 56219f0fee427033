// The recording of a run: its file, the command's part in it, and the program that shows it meanwhile.
#ifndef ZUV_DESKTOP_LAUNCHER_RECORDING_H
#define ZUV_DESKTOP_LAUNCHER_RECORDING_H

#include "launcher/process.h"
#include "launcher/temporary_folder.h"

#include <sys/types.h>

#include <filesystem>

namespace velmora::desktop {

/// Every program that is started while it exists writes into the recording what it has to say; see docs/recordings.md.
class Recording {
public:
    /// Begins an empty recording in place of the one that the file holds.
    /// @throws std::system_error, std::runtime_error when the file cannot hold one.
    explicit Recording(const std::filesystem::path& file);

    const std::filesystem::path& file() const { return m_file; }

    /// To be called once the run has the /dev/shm that it will have.
    /// @throws std::runtime_error when the programs of the run cannot see the file.
    void requireVisible() const;

    /// Has the programs that are started from now on preload the recorder.
    /// @param programs the folder of this program.
    /// @throws std::system_error, std::runtime_error when there is no recorder.
    void preloadRecorder(const std::filesystem::path& programs) const;

private:
    std::filesystem::path m_file;
    TemporaryFolder m_folder; ///< with a link to the recorder
    dev_t m_device = 0;
    ino_t m_number = 0;
};

/// Shows a recording on stderr while it is written. The destructor waits until all of it was shown, which takes the end
/// of this process's part in it.
class RecordingViewer {
public:
    /// @param programs the folder of this program.
    /// @throws std::system_error, std::runtime_error when the program that shows recordings is missing.
    RecordingViewer(const std::filesystem::path& programs, const std::filesystem::path& file);
    ~RecordingViewer();
    RecordingViewer(const RecordingViewer&) = delete;
    RecordingViewer& operator=(const RecordingViewer&) = delete;

private:
    ProcessGroup m_program;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_RECORDING_H
