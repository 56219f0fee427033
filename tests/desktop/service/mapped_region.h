#ifndef ZUV_TESTS_DESKTOP_SERVICE_MAPPED_REGION_H
#define ZUV_TESTS_DESKTOP_SERVICE_MAPPED_REGION_H

#include "base/file_descriptor.h"

#include <sys/stat.h>

#include <string>
#include <vector>

namespace velmora::desktop {

/// The region, mapped as a client maps it: once.
class MappedRegion {
public:
    MappedRegion();
    ~MappedRegion();
    MappedRegion(const MappedRegion&) = delete;
    MappedRegion& operator=(const MappedRegion&) = delete;

    /// Whether a region of that name is there for who looks for it now.
    static bool exists();

    /// Takes the name away, for a test that begins without a region.
    static void remove();

    struct stat status() const;

    /// All bytes of it.
    std::string bytes() const;

    /// The text up to the first zero byte.
    std::string text() const;

    /// The event in it as a list; 11 empty strings when there is none.
    std::vector<std::string> values() const;

private:
    FileDescriptor m_descriptor;
    const char* m_bytes;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_MAPPED_REGION_H
