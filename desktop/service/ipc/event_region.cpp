#include "service/ipc/event_region.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

namespace velmora::desktop {

namespace {

constexpr mode_t kMode = 0600;

/// Gives the region its size and mode. What is already right is left alone, because clients may have it mapped.
void prepare(int descriptor, const std::string& name) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0)
        throw systemError(errno, "cannot examine shared memory " + name);
    if (status.st_size != static_cast<off_t>(EventRegion::kSize) && ftruncate(descriptor, EventRegion::kSize) != 0)
        throw systemError(errno, "cannot size shared memory " + name);
    if ((status.st_mode & 07777) != kMode && fchmod(descriptor, kMode) != 0)
        throw systemError(errno, "cannot protect shared memory " + name);
}

} // namespace

EventRegion::EventRegion(std::string name) : m_name(std::move(name)) {
    open();
}

void EventRegion::open() {
    m_descriptor = FileDescriptor(shm_open(m_name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kMode));
    if (m_descriptor.get() < 0)
        throw systemError(errno, "cannot open shared memory " + m_name);
    prepare(m_descriptor.get(), m_name);
}

void EventRegion::write(const std::string& text) {
    if (text.size() > kLongestText)
        throw std::length_error("event text of " + std::to_string(text.size()) + " bytes");
    std::string bytes = text;
    bytes.resize(kSize, '\0');
    fill(bytes);
}

void EventRegion::fill(const std::string& bytes) {
    // The first byte is cleared first and written last: in between, readers find an empty text.
    writeAt(std::string(1, '\0'), 0);
    writeAt(bytes.substr(1), 1);
    writeAt(bytes.substr(0, 1), 0);
}

void EventRegion::remove() {
    shm_unlink(m_name.c_str());
}

void EventRegion::recreate() {
    remove();
    open();
}

void EventRegion::writeAt(const std::string& bytes, std::size_t offset) {
    if (pwrite(m_descriptor.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset)) !=
        static_cast<ssize_t>(bytes.size()))
        throw systemError(errno, "cannot write shared memory " + m_name);
}

} // namespace velmora::desktop
