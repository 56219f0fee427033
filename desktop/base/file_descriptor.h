// Owning file descriptors.
#ifndef ZUV_DESKTOP_BASE_FILE_DESCRIPTOR_H
#define ZUV_DESKTOP_BASE_FILE_DESCRIPTOR_H

#include "base/system_error.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace velmora::desktop {

/// Closes its file descriptor when it is destroyed. A negative value stands for none.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        const FileDescriptor replaced(std::exchange(m_descriptor, std::exchange(other.m_descriptor, -1)));
        return *this;
    }
    ~FileDescriptor() {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// An eventfd, with which one thread wakes another that polls. Reading and writing it never block.
/// @throws std::system_error
inline FileDescriptor makeEventDescriptor() {
    FileDescriptor descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (descriptor.get() < 0)
        throw systemError(errno, "cannot make an eventfd");
    return descriptor;
}

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_FILE_DESCRIPTOR_H
