#include "launcher/recorded_process.h"

#include "trace/recorder/recording_writer.h"

#include <sys/wait.h>

namespace velmora::desktop {
namespace {

using trace::RecordingWriter;

void recordEnd(pid_t process, int status) {
    trace::JsonLine line("exit");
    line.number("pid", process);
    if (WIFSIGNALED(status))
        line.number("signal", WTERMSIG(status));
    else
        line.number("status", WEXITSTATUS(status));
    RecordingWriter::ofProcess(trace::role::kLauncher).write(line);
}

} // namespace

void recordStart(pid_t process, const std::vector<std::string>& command) {
    trace::JsonLine line("spawn");
    line.number("pid", process).texts("args", command);
    RecordingWriter::ofProcess(trace::role::kLauncher).write(line);
}

pid_t waitAndRecord(pid_t process, int options) {
    int status = 0;
    const pid_t ended = waitpid(process, &status, options);
    if (ended > 0)
        recordEnd(ended, status);
    return ended;
}

} // namespace velmora::desktop
