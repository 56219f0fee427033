#include "launcher/temporary_folder.h"

#include "base/system_error.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace velmora::desktop {

TemporaryFolder::TemporaryFolder() {
    std::string path = "/tmp/zuv-desktop-XXXXXX";
    if (mkdtemp(path.data()) == nullptr)
        throw systemError(errno, path);
    m_path = path;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace velmora::desktop
