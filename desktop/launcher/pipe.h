#ifndef ZUV_DESKTOP_LAUNCHER_PIPE_H
#define ZUV_DESKTOP_LAUNCHER_PIPE_H

#include "base/file_descriptor.h"

#include <fcntl.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace velmora::desktop {

/// Both ends of a pipe; programs that are started do not inherit them by themselves.
struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

/// @throws std::system_error when it cannot be made.
inline Pipe makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) < 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_PIPE_H
