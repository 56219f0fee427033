// A folder that is removed when it is no longer needed.
#ifndef ZUV_DESKTOP_LAUNCHER_TEMPORARY_FOLDER_H
#define ZUV_DESKTOP_LAUNCHER_TEMPORARY_FOLDER_H

#include "base/file_descriptor.h"

#include <filesystem>
#include <string>

namespace velmora::desktop {

/// A folder under /tmp that only its owner can access (mode 0700), with the number of the process in its name. The
/// destructor removes it with its content. TMPDIR is not used, because the path of a socket in the folder must not
/// exceed 107 bytes.
class TemporaryFolder {
public:
    /// @throws std::system_error
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
    FileDescriptor m_lock; ///< the folder, with a flock(): processes in other containers have other numbers
};

/// Removes the folders of this user's processes that were killed and could not. Anything else in /tmp stays.
void removeAbandonedFolders();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_TEMPORARY_FOLDER_H
