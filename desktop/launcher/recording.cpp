#include "launcher/recording.h"

#include "base/file_descriptor.h"
#include "base/system_error.h"
#include "trace/recorder/recording_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace velmora::desktop {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRecorder = "libzuv_trace.so";
constexpr const char* kPreloadVariable = "LD_PRELOAD";
constexpr std::chrono::seconds kTimeToShow(10);

/// @return what identifies the file.
struct stat makeEmpty(const fs::path& file) {
    const FileDescriptor opened(
        open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, S_IRUSR | S_IWUSR));
    struct stat status = {};
    if (opened.get() < 0 || fstat(opened.get(), &status) != 0)
        throw systemError(errno, "cannot record into " + file.string());
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error("cannot record into " + file.string() + ": not a file");
    if (ftruncate(opened.get(), 0) != 0)
        throw systemError(errno, "cannot record into " + file.string());
    return status;
}

CommandLine viewerCommand(const fs::path& programs, const fs::path& file) {
    const fs::path viewer = programs / "zuv-trace";
    if (access(viewer.c_str(), X_OK) != 0)
        throw systemError(errno, "cannot show the run, for which " + viewer.string() + " is needed");
    return {"sh", "-c", R"(exec "$0" show --follow "$1" >&2)", viewer.string(), file.string()};
}

} // namespace

Recording::Recording(const fs::path& file) : m_file(fs::absolute(file)) {
    const struct stat status = makeEmpty(m_file);
    m_device = status.st_dev;
    m_number = status.st_ino;
    fs::remove(m_file.string() + ".old");
    setenv(trace::kFileVariable, m_file.c_str(), 1);
}

void Recording::requireVisible() const {
    struct stat status = {};
    if (stat(m_file.c_str(), &status) != 0 || status.st_dev != m_device || status.st_ino != m_number)
        throw std::runtime_error("cannot record into " + m_file.string() +
                                 ": the run has a /dev/shm of its own; --shared-shm lets it use the machine's");
}

// By a link, because the variable separates its entries by spaces and colons, which the path may have.
void Recording::preloadRecorder(const fs::path& programs) const {
    const fs::path recorder = (programs / ZUV_LIBRARIES_FROM_PROGRAMS / kRecorder).lexically_normal();
    if (access(recorder.c_str(), R_OK) != 0)
        throw systemError(errno, "cannot record without " + recorder.string());
    const fs::path link = m_folder.path() / kRecorder;
    fs::create_symlink(recorder, link);
    const char* const others = std::getenv(kPreloadVariable);
    const std::string preloaded = others == nullptr ? link.string() : link.string() + ":" + others;
    setenv(kPreloadVariable, preloaded.c_str(), 1);
}

RecordingViewer::RecordingViewer(const fs::path& programs, const fs::path& file)
    : m_program(viewerCommand(programs, file)) {}

RecordingViewer::~RecordingViewer() {
    trace::RecordingWriter::ofProcess(trace::role::kLauncher).end();
    m_program.awaitEnd(kTimeToShow);
}

} // namespace velmora::desktop
