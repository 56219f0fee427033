// The shared-memory object "/ZUV_PROXY" of a test: a private one, so that tests run in parallel and never
// touch the machine's own. Replaces shm_open, shm_unlink, ftruncate, mmap and close at link time; the last
// three concern the descriptors of this object only.
#ifndef ZUV_TESTS_CLIENT_EVENT_REGION_H
#define ZUV_TESTS_CLIENT_EVENT_REGION_H

#include "client/journal.h"

#include <functional>
#include <set>
#include <string>

namespace velmora::test {

inline constexpr std::size_t kRegionSize = 4096;

class EventRegion {
public:
    // The service's side.

    /// From here on the object exists, all zero.
    void create();
    /// From here on it does not exist, and opening it fails.
    void remove() { m_exists = false; }
    /// Replaces the whole content; what `text` leaves over is zero.
    void write(const std::string& text);
    /// Writes the JSON text of an event with these parameters, which need no escaping.
    void writeEvent(const Strings& parameters);
    std::size_t size() const;

    // What the script makes of the calls.

    std::function<void()> onOpen = [] {};
    std::function<void()> onUnlink = [] {};

    /// The client's descriptors that are open at the moment.
    std::size_t openDescriptors() const { return m_descriptors.size(); }

    // The replaced functions report here.
    int open(const char* name, int flags, unsigned mode, bool fails);
    bool owns(int descriptor) const { return m_descriptors.contains(descriptor); }
    void forget(int descriptor) { m_descriptors.erase(descriptor); }

private:
    bool m_exists = false;
    int m_memory = -1;
    std::set<int> m_descriptors;
};

EventRegion& eventRegion();

/// The JSON text of an event.
std::string eventText(const Strings& parameters);

// Expected lines.

std::string opened();
std::string resized();
std::string mapped();
std::string closed();
std::string unlinked();

/// All of a successful checkZUVEventMemory().
std::vector<std::string> regionChecked();
/// All of a checkZUVEventMemory() without the object.
std::vector<std::string> regionMissing();
/// All of a successful readZUVEventMemory() of a region that holds this text.
std::vector<std::string> regionRead(const std::string& text, const Strings& elevenParameters);
/// The same for a text that eventText() makes.
std::vector<std::string> regionRead(const Strings& parameters);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_EVENT_REGION_H
