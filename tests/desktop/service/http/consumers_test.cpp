// Independent programs as readers: of a file, and of the same file from an upstream server.
#include "desktop/service/http/served_film.h"
#include "log/desktop_log.h"
#include "support/processes.h"

#include <gtest/gtest.h>

#include <string>

namespace velmora::desktop {
namespace {

enum class Way { File, Http };

class ConsumerTest : public testing::TestWithParam<Way> {
protected:
    /// Creates the logger before the threads of the two servers, as the service's main() does: ThreadSanitizer does not
    /// see how the library orders its creation.
    static void SetUpTestSuite() { desktopLog(); }

    const MediaLocation& location() const { return GetParam() == Way::File ? m_file : m_http; }

    TemporaryFolder m_folder;
    const std::string m_in = "cd " + m_folder.path().string() + " && ";
    const std::filesystem::path m_film = clip("clip.webm");
    const std::string m_bytes = fileBytes(m_film);
    MediaServer m_source;
    const MediaLocation m_file{"", m_film};
    const ServedMedium m_elsewhere{m_source, m_file};
    const MediaLocation m_http{m_elsewhere.url(), ""};
    MediaServer m_server;
    const ServedMedium m_medium{m_server, location()};
};

TEST_P(ConsumerTest, CurlFetchesAndGoesOn) {
    if (!isInstalled("curl"))
        GTEST_SKIP() << "the program curl is missing";
    addFile(m_folder, "film", m_bytes.substr(0, 5000));
    const ProgramResult curl = runInShell(m_in + "curl -qsSf --noproxy '*' -C - -o film " + m_medium.url());
    EXPECT_EQ(curl.status, 0) << curl.output;
    EXPECT_TRUE(fileBytes(m_folder.path() / "film") == m_bytes);
}

TEST_P(ConsumerTest, CurlFetchesOnlyWhatIsNew) {
    if (!isInstalled("curl"))
        GTEST_SKIP() << "the program curl is missing";
    const std::string curl = m_in + "curl -qsSf --noproxy '*' --etag-save tag --etag-compare tag -w '%{http_code}' ";
    EXPECT_EQ(runInShell(curl + "-o film " + m_medium.url()).output, "200");
    EXPECT_TRUE(fileBytes(m_folder.path() / "film") == m_bytes);
    EXPECT_EQ(runInShell(curl + "-o again " + m_medium.url()).output, "304");
}

TEST_P(ConsumerTest, WgetGoesOn) {
    if (!isInstalled("wget"))
        GTEST_SKIP() << "the program wget is missing";
    addFile(m_folder, "film", m_bytes.substr(0, 5000));
    const ProgramResult wget =
        runInShell(m_in + "wget --no-config --no-proxy -q --tries=1 --continue -O film " + m_medium.url());
    EXPECT_EQ(wget.status, 0) << wget.output;
    EXPECT_TRUE(fileBytes(m_folder.path() / "film") == m_bytes);
}

TEST_P(ConsumerTest, FfprobeFindsTheFilm) {
    if (!isInstalled("ffprobe"))
        GTEST_SKIP() << "the program ffprobe is missing";
    const std::string ffprobe =
        "no_proxy=127.0.0.1 ffprobe -v error -show_entries stream=codec_name,height -of csv=p=0 ";
    const ProgramResult seen = runInShell(ffprobe + m_medium.url());
    EXPECT_EQ(seen.status, 0) << seen.output;
    EXPECT_EQ(seen.output, runInShell(ffprobe + m_film.string()).output);
}

TEST_P(ConsumerTest, FfmpegSeeks) {
    if (!isInstalled("ffmpeg"))
        GTEST_SKIP() << "the program ffmpeg is missing";
    const ProgramResult seen = runInShell("no_proxy=127.0.0.1 ffmpeg -nostdin -v error -ss 1 -i " + m_medium.url() +
                                          " -frames:v 3 -f framemd5 -");
    EXPECT_EQ(seen.status, 0) << seen.output;
    EXPECT_EQ(seen.output,
              runInShell("ffmpeg -nostdin -v error -ss 1 -i " + m_film.string() + " -frames:v 3 -f framemd5 -").output);
}

TEST_P(ConsumerTest, GstreamerDiscoversAFilmThatCanBeSought) {
    if (!isInstalled("gst-discoverer-1.0"))
        GTEST_SKIP() << "the program gst-discoverer-1.0 is missing";
    const ProgramResult seen = runInShell("no_proxy=127.0.0.1 gst-discoverer-1.0 " + m_medium.url());
    EXPECT_EQ(seen.status, 0) << seen.output;
    EXPECT_NE(seen.output.find("Seekable: yes"), std::string::npos) << seen.output;
    EXPECT_NE(seen.output.find("video"), std::string::npos) << seen.output;
}

INSTANTIATE_TEST_SUITE_P(Http, ConsumerTest, testing::Values(Way::File, Way::Http),
                         [](const auto& tested) { return tested.param == Way::File ? "OfAFile" : "OfAnHttpMedium"; });

} // namespace
} // namespace velmora::desktop
