#ifndef ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H
#define ZUV_DESKTOP_SERVICE_IPC_EVENT_REGION_H

#include "base/file_descriptor.h"

#include <string>

namespace velmora::desktop {

/// The shared memory that holds the latest event as JSON text, for clients that poll instead of listening.
///
/// Clients map the region once and keep it, so it is unlinked for no other reason than a scenario's: a restarted
/// service writes into the same one. It is written through its descriptor, not through a mapping: a process that
/// shortens the region then costs an event, where a mapping would cost the service its life. Not locked: one thread
/// writes.
class EventRegion {
public:
    /// Size of the region in bytes: a text and the zero that ends it.
    static constexpr std::size_t kSize = 4096;

    /// Creates the region, or takes the one that is there, content and all.
    /// @param name as for shm_open().
    /// @throws std::system_error
    explicit EventRegion(std::string name);

    /// Replaces the text. A reader sees the old text, no text or the new one while it changes; a copy that
    /// overlaps two of these can mix texts all the same, as the region has no place for a sequence number.
    /// @param text shorter than kSize, without zero bytes.
    /// @throws std::system_error
    void write(const std::string& text);

    /// Replaces all kSize bytes; without a zero among them, the text has no end.
    /// @throws std::system_error
    void fill(const std::string& bytes);

    /// Takes the name away: who has the region keeps it, and who looks for it finds none.
    void remove();

    /// Makes a new region of that name: who has the old one learns nothing any more.
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
