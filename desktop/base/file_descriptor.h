#ifndef ZUV_DESKTOP_BASE_FILE_DESCRIPTOR_H
#define ZUV_DESKTOP_BASE_FILE_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace velmora::desktop {

/// Owns a file descriptor; negative: none.
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

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_FILE_DESCRIPTOR_H
