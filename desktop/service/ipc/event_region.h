// The shared memory in which clients that poll find the latest event.
#ifndef ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H
#define ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H

#include "base/file_descriptor.h"

#include <string>

namespace velmora::desktop {

/// The shared memory that holds the latest event as JSON text, for clients that poll instead of listening.
///
/// Clients map the region once and keep the mapping. A restarted service therefore writes to the existing region, and
/// one whose region's name somebody removes writes to a new region as well as to the old one. The region is written
/// through its descriptor and not a mapping: if another process shortens it, a write fails, where access to a mapping
/// would kill the service. While this object exists, it holds a shared flock() on the region, by which others see that
/// the region is in use. One thread, without locks.
class EventRegion {
public:
    /// The size of the region in bytes: a text and the zero byte that ends it.
    static constexpr std::size_t kSize = 4096;
    /// The length of the longest text, in bytes.
    static constexpr std::size_t kLongestText = kSize - 1;

    /// Creates the region with all its memory, or opens an existing one without changing its content. An existing one
    /// that belongs to another user, or that others have access to, is not trusted but replaced.
    /// @param name as for shm_open().
    /// @throws std::system_error; std::runtime_error when what has the name cannot be replaced.
    explicit EventRegion(std::string name);

    /// Writes a text if there is none, as in a new region.
    /// @throws as write() does.
    void begin(const std::string& text);

    /// Replaces the text. While it changes, a reader sees the old text, no text or the new one. A reader that copies
    /// the text can still get a mixture of these, because the region has no place for a sequence number.
    /// @param text of at most kLongestText bytes, none of them zero.
    /// @throws std::system_error; std::length_error, without changing the region, when the text is longer.
    void write(const std::string& text);

    /// Replaces all kSize bytes. Without a zero byte among them, the text has no end.
    /// @throws std::system_error
    void fill(const std::string& bytes);

    /// Removes the region's name, for good. Processes that have the region mapped keep it; others can no longer open
    /// it.
    void remove();

    /// Replaces the region by a new one of the same name. Processes that have the old one mapped see no more events.
    /// @throws std::system_error
    void recreate();

private:
    void fill(const FileDescriptor& region, const std::string& bytes) const;
    void writeAt(const FileDescriptor& region, const std::string& bytes, std::size_t offset) const;

    std::string m_name;
    FileDescriptor m_region;
    FileDescriptor m_former; ///< the region before this one, if somebody removed its name
    bool m_isRemoved = false;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H
