#include "base/random_token.h"
#include "launcher/private_bus.h"
#include "service/ipc/event_region.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace velmora::desktop {
namespace {

/// A region of the test's own, mapped as a client maps it.
class EventRegionTest : public testing::Test {
protected:
    ~EventRegionTest() override {
        if (m_mapping != MAP_FAILED)
            munmap(m_mapping, EventRegion::kSize);
        std::filesystem::remove("/dev/shm" + m_name);
    }

    FileDescriptor openShared(int flags = O_RDWR) const {
        return FileDescriptor(shm_open(m_name.c_str(), flags, 0644));
    }

    struct stat status() const {
        struct stat status = {};
        EXPECT_EQ(fstat(openShared().get(), &status), 0);
        return status;
    }

    const char* mapped() {
        if (m_mapping == MAP_FAILED)
            m_mapping = mmap(nullptr, EventRegion::kSize, PROT_READ, MAP_SHARED, openShared().get(), 0);
        EXPECT_NE(m_mapping, MAP_FAILED);
        return static_cast<const char*>(m_mapping);
    }

    /// What a client that maps the region now would find.
    std::string contents() const {
        std::string bytes(EventRegion::kSize, 'x');
        EXPECT_EQ(pread(openShared().get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        return bytes;
    }

    std::string wholeRegion() { return {mapped(), EventRegion::kSize}; }

    const std::string m_name = "/zuv-test-" + randomToken();

private:
    void* m_mapping = MAP_FAILED;
};

std::string padded(std::string text) {
    text.resize(EventRegion::kSize, '\0');
    return text;
}

TEST_F(EventRegionTest, IsCreatedEmptyForItsOwnerOnly) {
    const EventRegion region(m_name);
    EXPECT_EQ(status().st_mode & 07777U, 0600U);
    EXPECT_EQ(status().st_size, 4096);
    EXPECT_EQ(wholeRegion(), padded(""));
}

TEST_F(EventRegionTest, HoldsTheTextPaddedWithZeros) {
    EventRegion region(m_name);
    region.write("a longer text than the next");
    region.write("short");
    EXPECT_EQ(wholeRegion(), padded("short"));
}

TEST_F(EventRegionTest, BeginsWithATextUnlessItHasOne) {
    EventRegion(m_name).begin("first");
    EXPECT_EQ(wholeRegion(), padded("first"));
    EventRegion(m_name).begin("second");
    EXPECT_EQ(wholeRegion(), padded("first"));
}

TEST_F(EventRegionTest, TakesATextThatLeavesRoomForOneZero) {
    EventRegion region(m_name);
    region.write(std::string(4095, 'x'));
    EXPECT_EQ(wholeRegion(), padded(std::string(4095, 'x')));
}

TEST_F(EventRegionTest, RefusesALongerTextAndKeepsTheOld) {
    EventRegion region(m_name);
    region.write("old");
    EXPECT_THROW(region.write(std::string(4096, 'x')), std::length_error);
    EXPECT_EQ(wholeRegion(), padded("old"));
}

TEST_F(EventRegionTest, StaysWhenItsWriterEnds) {
    EventRegion(m_name).write("last words");

    EXPECT_EQ(wholeRegion(), padded("last words"));
}

TEST_F(EventRegionTest, IsReusedSoThatAnEarlierMappingSeesNewTexts) {
    EventRegion(m_name).write("before");
    ASSERT_EQ(wholeRegion(), padded("before"));
    EventRegion again(m_name);
    EXPECT_EQ(wholeRegion(), padded("before"));
    again.write("after");
    EXPECT_EQ(wholeRegion(), padded("after"));
}

TEST_F(EventRegionTest, OfAnotherSizeAndModeIsMended) {
    const FileDescriptor odd = openShared(O_RDWR | O_CREAT);
    ASSERT_EQ(ftruncate(odd.get(), 100), 0);
    const EventRegion region(m_name);
    EXPECT_EQ(status().st_size, 4096);
    EXPECT_EQ(status().st_mode & 07777U, 0600U);
}

TEST_F(EventRegionTest, OfAnotherSizeKeepsItsMappings) {
    const FileDescriptor odd(shm_open(m_name.c_str(), O_RDWR | O_CREAT, 0600));
    ASSERT_EQ(ftruncate(odd.get(), 10'000), 0);
    mapped();
    EventRegion(m_name).write("seen");
    EXPECT_EQ(wholeRegion(), padded("seen"));
    EXPECT_EQ(status().st_size, 4096);
}

TEST_F(EventRegionTest, ThatOthersCouldOpenIsReplaced) {
    const FileDescriptor others = openShared(O_RDWR | O_CREAT);
    ASSERT_EQ(ftruncate(others.get(), EventRegion::kSize), 0);
    ASSERT_EQ(fchmod(others.get(), 0660), 0);
    mapped();
    EventRegion(m_name).write("not for them");
    EXPECT_EQ(wholeRegion(), padded(""));
    EXPECT_EQ(contents(), padded("not for them"));
}

TEST_F(EventRegionTest, HasItsMemoryFromTheBeginning) {
    const EventRegion region(m_name);
    EXPECT_GE(status().st_blocks * 512, 4096);
}

std::string errorOf(const std::string& name) {
    try {
        EventRegion{name};
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

TEST_F(EventRegionTest, IsNoOtherKindOfFile) {
    const std::string path = "/dev/shm" + m_name;
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    EXPECT_TRUE(errorOf(m_name).starts_with(path + " is a folder of user ")) << errorOf(m_name);
    ASSERT_EQ(rmdir(path.c_str()), 0);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_TRUE(errorOf(m_name).starts_with(path + " is a FIFO of user ")) << errorOf(m_name);
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(symlink("/etc/hostname", path.c_str()), 0);
    EXPECT_TRUE(errorOf(m_name).starts_with(path + " is a symbolic link of user ")) << errorOf(m_name);
}

constexpr uid_t kNobody = 65534;

class RegionOfAnotherUser : public EventRegionTest {
protected:
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs root, to become another user";
    }
};

TEST_F(RegionOfAnotherUser, IsReplacedByWhoMay) {
    const FileDescriptor theirs(shm_open(m_name.c_str(), O_RDWR | O_CREAT, 0600));
    ASSERT_EQ(fchown(theirs.get(), kNobody, kNobody), 0);
    EventRegion(m_name).write("mine");
    EXPECT_EQ(status().st_uid, 0U);
    EXPECT_EQ(contents(), padded("mine"));
}

[[noreturn]] void openAsNobody(const std::string& name) {
    if (setgid(kNobody) == 0 && setuid(kNobody) == 0)
        std::fputs(errorOf(name).c_str(), stderr);
    std::exit(0);
}

TEST_F(RegionOfAnotherUser, IsNamedInTheErrorOtherwise) {
    const EventRegion roots(m_name);
    EXPECT_EXIT(openAsNobody(m_name), testing::ExitedWithCode(0),
                "belongs to user root and cannot be replaced .*use a /dev/shm of your own");
    EXPECT_EQ(status().st_uid, 0U);
}

// In a /dev/shm of one page, which another file takes.
[[noreturn]] void openWithoutMemory(const std::string& name) {
    enterPrivateShm();
    if (mount("tmpfs", "/dev/shm", "tmpfs", 0, "size=4k,mode=1777") == 0) {
        std::ofstream("/dev/shm/other") << "x" << std::flush;
        std::fputs(errorOf(name).c_str(), stderr);
    }
    std::exit(access(("/dev/shm" + name).c_str(), F_OK) == 0 ? 1 : 0);
}

TEST_F(EventRegionTest, IsNotMadeWithoutMemory) {
    EXPECT_EXIT(openWithoutMemory(m_name), testing::ExitedWithCode(0),
                "cannot have 4096 bytes of shared memory for .*No space left on device");
}

TEST_F(EventRegionTest, WhoseNameIsTakenAwayIsMadeAnewAndStillWrittenForWhoHasTheOld) {
    EventRegion region(m_name);
    mapped();
    ASSERT_EQ(shm_unlink(m_name.c_str()), 0);
    region.write("first");
    EXPECT_EQ(wholeRegion(), padded("first"));
    EXPECT_EQ(contents(), padded("first"));
    region.write("second");
    EXPECT_EQ(wholeRegion(), padded("second"));
    EXPECT_EQ(contents(), padded("second"));
    EXPECT_EQ(status().st_mode & 07777U, 0600U);
}

TEST_F(EventRegionTest, IsMadeAnewEachTime) {
    EventRegion region(m_name);
    for (const std::string text : {"first", "second", "third"}) {
        ASSERT_EQ(shm_unlink(m_name.c_str()), 0);
        region.write(text);
        EXPECT_EQ(contents(), padded(text));
    }
}

TEST_F(EventRegionTest, SurvivesAProcessThatShortensIt) {
    EventRegion region(m_name);
    ASSERT_EQ(ftruncate(openShared().get(), 0), 0);
    region.write("still here");
    EXPECT_EQ(wholeRegion(), padded("still here"));
}

TEST_F(EventRegionTest, NeverShowsANewTextBeforeItsRestIsThere) {
    EventRegion region(m_name);
    const char* text = mapped();
    std::atomic<bool> done = false;
    std::atomic<int> seen = 0;
    std::atomic<int> torn = 0;
    // The texts grow in length and letter: a first letter whose last one is not there yet was put in too
    // early.
    std::jthread reader([&] {
        while (!done) {
            const char first = static_cast<const volatile char*>(text)[0];
            const char last = static_cast<const volatile char*>(text)[4000];
            const char same = static_cast<const volatile char*>(text)[0];
            if (first == '\0' || first != same)
                continue;
            ++seen;
            if (last < first)
                ++torn;
        }
    });
    for (int i = 0; i < 2000; ++i)
        region.write(std::string(4095, static_cast<char>('a' + i * 26 / 2000)));
    while (seen == 0)
        std::this_thread::yield();
    done = true;
    reader.join();
    EXPECT_EQ(torn, 0);
}

TEST_F(EventRegionTest, IsFilledToItsLastByte) {
    EventRegion region(m_name);
    std::string bytes(EventRegion::kSize, 'x');
    bytes.front() = '{';
    bytes.back() = '}';
    region.fill(bytes);
    EXPECT_EQ(wholeRegion(), bytes);
}

TEST_F(EventRegionTest, RemovedIsStillWrittenForWhoHasIt) {
    EventRegion region(m_name);
    mapped();
    region.remove();
    EXPECT_LT(openShared().get(), 0);
    region.write("still here");
    EXPECT_EQ(wholeRegion(), padded("still here"));
}

TEST_F(EventRegionTest, RecreatedIsEmptyAndUnknownToWhoHasTheOld) {
    EventRegion region(m_name);
    region.write("old");
    mapped();
    region.recreate();
    region.write("new");
    EXPECT_EQ(wholeRegion(), padded("old"));
    EXPECT_EQ(contents(), padded("new"));
    EXPECT_EQ(status().st_mode & 07777U, 0600U);
}

TEST_F(EventRegionTest, CannotHaveABadName) {
    EXPECT_THROW(EventRegion("/no/such/name"), std::system_error);
}

} // namespace
} // namespace velmora::desktop
