#include "launcher/temporary_folder.h"

#include "base/system_error.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace velmora::desktop {

namespace {

namespace fs = std::filesystem;

constexpr const char* kParent = "/tmp";
constexpr std::string_view kPrefix = "zuv-desktop-";
constexpr std::string_view kRandomPart = "-XXXXXX";

/// Opens the folder and locks it, unless another process has; never a link.
FileDescriptor lock(const fs::path& folder) {
    FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (descriptor.get() >= 0 && flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0)
        return FileDescriptor();
    return descriptor;
}

/// The process in the name of a temporary folder; none for other names.
std::optional<pid_t> ownerIn(std::string_view name) {
    if (!name.starts_with(kPrefix) || name.size() <= kPrefix.size() + kRandomPart.size())
        return std::nullopt;
    name.remove_prefix(kPrefix.size());
    const char* const end = name.data() + name.size() - kRandomPart.size();
    pid_t owner = 0;
    const auto [rest, error] = std::from_chars(name.data(), end, owner);
    return error == std::errc() && rest == end && *end == '-' && owner > 0 ? std::optional(owner) : std::nullopt;
}

bool isOfDeadProcess(const fs::path& folder) {
    const std::optional<pid_t> owner = ownerIn(folder.filename().native());
    return owner && kill(*owner, 0) != 0 && errno == ESRCH;
}

/// Whether the folder is as this user's processes make them.
bool isOwn(const FileDescriptor& folder) {
    struct stat status = {};
    return fstat(folder.get(), &status) == 0 && status.st_uid == geteuid() && (status.st_mode & 07777) == 0700;
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::string path = std::string(kParent) + "/" + std::string(kPrefix) + std::to_string(getpid());
    path += kRandomPart;
    if (mkdtemp(path.data()) == nullptr)
        throw systemError(errno, path);
    m_path = path;
    m_lock = lock(m_path);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void removeAbandonedFolders() {
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(kParent, ignored)) {
        if (!isOfDeadProcess(entry.path()))
            continue;
        const FileDescriptor locked = lock(entry.path());
        if (locked.get() >= 0 && isOwn(locked))
            fs::remove_all(entry.path(), ignored);
    }
}

} // namespace velmora::desktop
