// The shared-memory object "/ZUV_PROXY", private to each test, so that tests run in parallel and leave the machine's
// own alone. Replaces shm_open, shm_unlink, ftruncate, mmap and close at link time, the last three for this object's
// descriptors only.
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
    // What the service does.

    /// Creates the object, all zero.
    void create();
    /// Removes the object: opening it fails.
    void remove() { m_exists = false; }
    /// Replaces the whole content by `text` and zeros.
    void write(const std::string& text);
    /// Writes the JSON text of an event with these parameters, which need no escaping.
    void writeEvent(const Strings& parameters);
    std::size_t size() const;

    // Actions of the test, within the calls.

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

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_EVENT_REGION_H
