#include "desktop/service/publisher_test.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>

namespace velmora::desktop {

PublisherTest::~PublisherTest() {
    shm_unlink(m_name.c_str());
}

Event PublisherTest::eventNamed(const std::string& name) {
    Event event;
    event.name = name;
    return event;
}

std::string PublisherTest::regionText() const {
    std::array<char, EventRegion::kSize> bytes{};
    const FileDescriptor region(shm_open(m_name.c_str(), O_RDONLY, 0));
    EXPECT_EQ(pread(region.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    return bytes.data();
}

void PublisherTest::runUntilSent(std::size_t count) {
    const auto limit = Clock::now() + std::chrono::seconds(20);
    while (m_sent.size() < count && Clock::now() < limit)
        runOnce(std::chrono::seconds(1));
    ASSERT_EQ(m_sent.size(), count);
}

void PublisherTest::runOnce(std::chrono::microseconds limit) {
    sd_event_run(m_loop.get(), static_cast<uint64_t>(limit.count()));
}

} // namespace velmora::desktop
