#include "service/ipc/event_region.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace velmora::desktop {

namespace {

constexpr mode_t kMode = 0600;

struct stat statusOf(const FileDescriptor& region, const std::string& name) {
    struct stat status = {};
    if (fstat(region.get(), &status) != 0)
        throw systemError(errno, "cannot examine shared memory " + name);
    return status;
}

/// Gives the region its size and all its memory, so that neither a write nor a client's mapping meets a full /dev/shm.
void prepare(const FileDescriptor& region, const std::string& name) {
    if (statusOf(region, name).st_size > static_cast<off_t>(EventRegion::kSize) &&
        ftruncate(region.get(), EventRegion::kSize) != 0)
        throw systemError(errno, "cannot size shared memory " + name);
    if (const int error = posix_fallocate(region.get(), 0, EventRegion::kSize); error != 0)
        throw systemError(error, "cannot have 4096 bytes of shared memory for " + name);
    flock(region.get(), LOCK_SH | LOCK_NB); // fails only while zuv-desktop removes a region that looked unused
}

FileDescriptor create(const std::string& name) {
    FileDescriptor region(shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
    if (region.get() < 0)
        return region;
    try {
        prepare(region, name);
    } catch (...) {
        shm_unlink(name.c_str()); // a client that mapped less memory than it reads would be killed
        throw;
    }
    return region;
}

std::string ownerName(uid_t user) {
    const passwd* entry = getpwuid(user);
    return entry == nullptr ? std::to_string(user) : entry->pw_name;
}

std::string kindOf(mode_t mode) {
    return S_ISDIR(mode)    ? "a folder"
           : S_ISLNK(mode)  ? "a symbolic link"
           : S_ISFIFO(mode) ? "a FIFO"
                            : "a special file";
}

/// @throws std::runtime_error when the file that has the region's name is no memory.
void requireMemory(const std::string& name) {
    const std::string path = "/dev/shm" + name;
    struct stat status = {};
    if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        throw std::runtime_error(fmt::format("{} is {} of user {} instead of shared memory: remove it", path,
                                             kindOf(status.st_mode), ownerName(status.st_uid)));
}

/// Takes the name from a region that is not trusted: whoever has it open could go on writing into it.
void removeForeign(const std::string& name) {
    const std::string path = "/dev/shm" + name;
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0 || shm_unlink(name.c_str()) == 0)
        return;
    throw std::runtime_error(fmt::format(
        "{} belongs to user {} and cannot be replaced ({}): have it removed, or use a /dev/shm of your own, "
        "as zuv-desktop run does without --shared-shm",
        path, ownerName(status.st_uid), std::strerror(errno)));
}

/// The existing region, if it can be trusted; none otherwise.
FileDescriptor openTrusted(const std::string& name) {
    requireMemory(name);
    FileDescriptor region(shm_open(name.c_str(), O_RDWR | O_CLOEXEC, 0));
    if (region.get() < 0)
        return region;
    const struct stat status = statusOf(region, name);
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid() || (status.st_mode & 07777) != kMode)
        return FileDescriptor();
    prepare(region, name);
    return region;
}

FileDescriptor openRegion(const std::string& name) {
    constexpr int kAttempts = 10; // others may create and remove the region at the same time
    for (int i = 0; i < kAttempts; ++i) {
        FileDescriptor region = create(name);
        if (region.get() >= 0)
            return region;
        if (errno != EEXIST)
            break;
        region = openTrusted(name);
        if (region.get() >= 0)
            return region;
        removeForeign(name);
        errno = EEXIST;
    }
    throw systemError(errno, "cannot open shared memory " + name);
}

} // namespace

EventRegion::EventRegion(std::string name) : m_name(std::move(name)), m_region(openRegion(m_name)) {}

void EventRegion::begin(const std::string& text) {
    char first = '\0';
    if (pread(m_region.get(), &first, 1, 0) == 1 && first == '\0')
        write(text);
}

void EventRegion::write(const std::string& text) {
    if (text.size() > kLongestText)
        throw std::length_error("event text of " + std::to_string(text.size()) + " bytes");
    std::string bytes = text;
    bytes.resize(kSize, '\0');
    fill(bytes);
}

void EventRegion::fill(const std::string& bytes) {
    if (m_former.get() >= 0)
        fill(m_former, bytes);
    fill(m_region, bytes);
    if (m_isRemoved || statusOf(m_region, m_name).st_nlink > 0)
        return;
    m_former = std::exchange(m_region, openRegion(m_name));
    fill(m_region, bytes);
}

void EventRegion::remove() {
    shm_unlink(m_name.c_str());
    m_isRemoved = true;
}

void EventRegion::recreate() {
    shm_unlink(m_name.c_str());
    m_region = openRegion(m_name);
    m_former = FileDescriptor();
    m_isRemoved = false;
}

void EventRegion::fill(const FileDescriptor& region, const std::string& bytes) const {
    // The first byte is cleared first and written last: in between, readers find an empty text.
    writeAt(region, std::string(1, '\0'), 0);
    writeAt(region, bytes.substr(1), 1);
    writeAt(region, bytes.substr(0, 1), 0);
}

void EventRegion::writeAt(const FileDescriptor& region, const std::string& bytes, std::size_t offset) const {
    if (pwrite(region.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset)) !=
        static_cast<ssize_t>(bytes.size()))
        throw systemError(errno, "cannot write shared memory " + m_name);
}

} // namespace velmora::desktop
