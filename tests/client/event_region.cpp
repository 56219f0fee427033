#include "client/event_region.h"

#include "client/replaced_runtime.h"
#include "support/service_protocol.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

extern "C" {
int __real_ftruncate(int descriptor, off_t length);
void* __real_mmap(void* address, std::size_t length, int protection, int flags, int descriptor, off_t offset);
int __real_close(int descriptor);
}

namespace velmora::test {

void EventRegion::create() {
    // Empty like a fresh shared-memory object: the client gives it its size.
    if (m_memory < 0)
        m_memory = memfd_create("event region", MFD_CLOEXEC);
    m_exists = true;
}

void EventRegion::write(const std::string& text) {
    std::string content = text;
    content.resize(kRegionSize);
    if (pwrite(m_memory, content.data(), content.size(), 0) != static_cast<ssize_t>(kRegionSize))
        throw std::runtime_error("the event region cannot be written");
}

void EventRegion::writeEvent(const Strings& parameters) {
    write(eventText(parameters));
}

std::size_t EventRegion::size() const {
    struct stat status = {};
    fstat(m_memory, &status);
    return static_cast<std::size_t>(status.st_size);
}

int EventRegion::open(const char* name, int flags, unsigned mode, bool fails) {
    journal().add("shm_open " + quoted(name) + (flags == O_RDWR ? " O_RDWR" : " other flags") +
                  (mode == 0666 ? " 0666" : " other mode"));
    onOpen();
    if (!m_exists || fails) {
        errno = ENOENT;
        return -1;
    }
    const int descriptor = fcntl(m_memory, F_DUPFD_CLOEXEC, 0);
    m_descriptors.insert(descriptor);
    return descriptor;
}

EventRegion& eventRegion() {
    static EventRegion instance;
    return instance;
}

} // namespace velmora::test

using namespace velmora::test;

extern "C" {

int __wrap_shm_open(const char* name, int flags, mode_t mode) {
    const bool fails = isToFail(Call::OpenRegion);
    const OwnWork work;
    return eventRegion().open(name, flags, mode, fails);
}

int __wrap_shm_unlink(const char* name) {
    const OwnWork work;
    journal().add("shm_unlink " + quoted(name));
    eventRegion().onUnlink();
    return 0;
}

int __wrap_ftruncate(int descriptor, off_t length) {
    const bool noRegion = descriptor < 0; // only the client would try
    if (!eventRegion().owns(descriptor) && !noRegion)
        return __real_ftruncate(descriptor, length);
    const bool fails = isToFail(Call::ResizeRegion);
    const OwnWork work;
    journal().add("ftruncate " + std::to_string(length));
    if (!fails)
        return __real_ftruncate(descriptor, length);
    errno = EPERM;
    return -1;
}

void* __wrap_mmap(void* address, std::size_t length, int protection, int flags, int descriptor, off_t offset) {
    if (!eventRegion().owns(descriptor))
        return __real_mmap(address, length, protection, flags, descriptor, offset);
    const bool failed = isToFail(Call::MapRegion);
    const bool null = isToFail(Call::MapRegionToNull);
    const OwnWork work;
    journal().add(std::string("mmap ") + (address == nullptr ? "null " : "address ") + std::to_string(length) +
                  (protection == PROT_READ ? " PROT_READ" : " other protection") +
                  (flags == MAP_SHARED ? " MAP_SHARED " : " other flags ") + std::to_string(offset));
    if (failed)
        return MAP_FAILED;
    if (null)
        return nullptr;
    return __real_mmap(address, length, protection, flags, descriptor, offset);
}

int __wrap_close(int descriptor) {
    if (eventRegion().owns(descriptor)) {
        const OwnWork work;
        journal().add("close");
        eventRegion().forget(descriptor);
    }
    return __real_close(descriptor);
}

} // extern "C"
