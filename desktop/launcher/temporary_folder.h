#ifndef ZUV_DESKTOP_LAUNCHER_TEMPORARY_FOLDER_H
#define ZUV_DESKTOP_LAUNCHER_TEMPORARY_FOLDER_H

#include <filesystem>
#include <string>

namespace velmora::desktop {

/// A folder of its owner's own (mode 0700) under /tmp, removed with all that is in it. Not under TMPDIR: the
/// path of a socket in it has to fit 107 bytes.
class TemporaryFolder {
public:
    /// @throws std::system_error when it cannot be made.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_TEMPORARY_FOLDER_H
