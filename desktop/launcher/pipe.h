// Pipes between processes.
#ifndef ZUV_DESKTOP_LAUNCHER_PIPE_H
#define ZUV_DESKTOP_LAUNCHER_PIPE_H

#include "base/file_descriptor.h"
#include "base/system_error.h"

#include <fcntl.h>

#include <array>
#include <cerrno>

namespace velmora::desktop {

/// Both ends of a pipe, which programs that are started do not inherit.
struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// @throws std::system_error
inline Pipe makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) < 0)
        throw systemError(errno, "pipe");
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_PIPE_H
