#include "service/media/media_location.h"
#include "service/protocol/result_code.h"
#include "support/test_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmora::desktop {
namespace {

ResultCode refusal(const std::string& url) {
    try {
        locateMedia(url);
    } catch (const CommandFailure& failure) {
        EXPECT_STRNE(failure.what(), "");
        return failure.code();
    }
    return ResultCode::Ok;
}

TEST(MediaLocation, OfAPathIsTheFile) {
    const TemporaryFolder folder;
    const auto file = addFile(folder, "with blank.webm");
    const MediaLocation location = locateMedia(file);
    EXPECT_EQ(location.file, file);
    EXPECT_EQ(location.uri, "file://" + folder.path().string() + "/with%20blank.webm");
}

TEST(MediaLocation, OfAFileUrlIsTheFileThatItStandsFor) {
    const TemporaryFolder folder;
    const auto file = addFile(folder, "with blank.webm");
    EXPECT_EQ(locateMedia("file://" + folder.path().string() + "/with%20blank.webm").file, file);
    EXPECT_EQ(locateMedia("file://localhost" + folder.path().string() + "/with%20blank.webm").file, file);
}

TEST(MediaLocation, TakesFileNamesThatAreNotUtf8) {
    const TemporaryFolder folder;
    const auto file = addFile(folder, "\xff.webm");
    EXPECT_EQ(locateMedia(file).uri, "file://" + folder.path().string() + "/%FF.webm");
}

TEST(MediaLocation, OfAnHttpUrlIsTheUrl) {
    EXPECT_EQ(locateMedia("http://example.invalid/a?b#c").uri, "http://example.invalid/a?b#c");
    EXPECT_TRUE(locateMedia("HTTP://example.invalid/a").file.empty());
    EXPECT_EQ(locateMedia("https://example.invalid/a").uri, "https://example.invalid/a");
}

class BadUrl : public testing::TestWithParam<std::string> {};

TEST_P(BadUrl, IsABadCommand) {
    EXPECT_EQ(refusal(GetParam()), ResultCode::BadCommand);
}

INSTANTIATE_TEST_SUITE_P(MediaLocation, BadUrl,
                         testing::Values("", "clip.webm", "./clip.webm", "file://", "file:clip.webm",
                                         "file://elsewhere/clip.webm", "file:///%00", "ftp://example.invalid/a",
                                         "httpsx://example.invalid/a", "rtsp://example.invalid/a", "\xff\xfe",
                                         std::string("/etc/passwd\0.webm", 17), std::string("http://a\0b", 10),
                                         std::string(100000, 'x')));

TEST(MediaLocation, OfAMissingFileIsNotFound) {
    EXPECT_EQ(refusal("/no/such/file.webm"), ResultCode::NotFound);
    EXPECT_EQ(refusal("file:///no/such/file.webm"), ResultCode::NotFound);
    EXPECT_EQ(refusal("/" + std::string(100000, 'x')), ResultCode::NotFound);
}

TEST(MediaLocation, OfAFolderAPipeOrADeviceIsUnplayable) {
    const TemporaryFolder folder;
    const std::string pipe = folder.path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(refusal(folder.path()), ResultCode::Unplayable);
    EXPECT_EQ(refusal(pipe), ResultCode::Unplayable);
    EXPECT_EQ(refusal("/dev/zero"), ResultCode::Unplayable);
}

} // namespace
} // namespace velmora::desktop
