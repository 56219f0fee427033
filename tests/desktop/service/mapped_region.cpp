#include "desktop/service/mapped_region.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <sys/mman.h>

namespace velmora::desktop {

namespace {

constexpr const char* kName = "/ZUV_PROXY";
constexpr std::size_t kSize = 4096;

FileDescriptor openRegion() {
    return FileDescriptor(shm_open(kName, O_RDONLY, 0));
}

} // namespace

MappedRegion::MappedRegion()
    : m_descriptor(openRegion()),
      m_bytes(static_cast<const char*>(mmap(nullptr, kSize, PROT_READ, MAP_SHARED, m_descriptor.get(), 0))) {
    EXPECT_GE(m_descriptor.get(), 0);
}

MappedRegion::~MappedRegion() {
    munmap(const_cast<char*>(m_bytes), kSize);
}

bool MappedRegion::exists() {
    return openRegion().get() >= 0;
}

void MappedRegion::remove() {
    shm_unlink(kName);
}

struct stat MappedRegion::status() const {
    struct stat status = {};
    EXPECT_EQ(fstat(m_descriptor.get(), &status), 0);
    return status;
}

std::string MappedRegion::bytes() const {
    return {m_bytes, kSize};
}

std::string MappedRegion::text() const {
    return bytes().substr(0, strnlen(m_bytes, kSize));
}

std::vector<std::string> MappedRegion::values() const {
    Json::Value root;
    EXPECT_TRUE(text().empty() || Json::Reader().parse(text(), root)) << text();
    std::vector<std::string> list;
    for (int i = 0; i <= 10; ++i)
        list.push_back(root[std::to_string(i)].asString());
    return list;
}

} // namespace velmora::desktop
