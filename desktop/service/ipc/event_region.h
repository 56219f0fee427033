// The shared memory in which clients that poll find the latest event.
#ifndef ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H
#define ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H

#include "base/file_descriptor.h"

#include <string>

namespace velmora::desktop {

/// The shared memory that holds the latest event as JSON text, for clients that poll instead of listening.
///
/// Clients map the region once and keep the mapping. A restarted service therefore writes to the existing region, which
/// is only ever unlinked by a scenario. The region is written through its descriptor instead of a mapping: if another
/// process shortens it, a write fails, where access to a mapping would kill the service. One thread, without locks.
class EventRegion {
public:
    /// The size of the region in bytes: a text and the zero byte that ends it.
    static constexpr std::size_t kSize = 4096;
    /// The length of the longest text, in bytes.
    static constexpr std::size_t kLongestText = kSize - 1;

    /// Creates the region, or opens an existing one without changing its content.
    /// @param name as for shm_open().
    /// @throws std::system_error
    explicit EventRegion(std::string name);

    /// Replaces the text. While it changes, a reader sees the old text, no text or the new one. A reader that copies
    /// the text can still get a mixture of these, because the region has no place for a sequence number.
    /// @param text of at most kLongestText bytes, none of them zero.
    /// @throws std::system_error; std::length_error, without changing the region, when the text is longer.
    void write(const std::string& text);

    /// Replaces all kSize bytes. Without a zero byte among them, the text has no end.
    /// @throws std::system_error
    void fill(const std::string& bytes);

    /// Removes the region's name. Processes that have the region mapped keep it; others can no longer open it.
    void remove();

    /// Replaces the region by a new one of the same name. Processes that have the old one mapped see no more events.
    /// @throws std::system_error
    void recreate();

private:
    void open();
    void writeAt(const std::string& bytes, std::size_t offset);

    std::string m_name;
    FileDescriptor m_descriptor;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H
