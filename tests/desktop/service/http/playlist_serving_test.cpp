// Playlists as media: what they refer to is served with them, and nothing else is.
#include "desktop/service/http/scripted_server.h"
#include "desktop/service/http/tcp_connection.h"
#include "service/http/media_server.h"
#include "service/http/playlist_siblings.h"
#include "support/http_client.h"
#include "support/processes.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

/// The status of the answer to a request for a target that no HTTP library would send.
int statusOf(const std::string& medium, const std::string& target) {
    TcpConnection connection(medium);
    connection.write("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    const std::string header = connection.readHeader();
    return header.size() < 12 ? 0 : std::stoi(header.substr(9, 3));
}

class PlaylistServingTest : public testing::Test {
protected:
    PlaylistServingTest() {
        for (const char* folder : {"media", "media/low", "media/.git", "media/low/deep", "media2"})
            std::filesystem::create_directory(m_folder.path() / folder);
        addFile(m_folder, "media/master.m3u8",
                "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nlow/index.m3u8\n#EXT-X-STREAM-INF:BANDWIDTH=2\n../out.m3u8\n"
                "#EXT-X-STREAM-INF:BANDWIDTH=3\n.hidden.m3u8\n#EXT-X-STREAM-INF:BANDWIDTH=4\nlink.m3u8\n");
        addFile(m_folder, "media/low/index.m3u8",
                "#EXTM3U\n#EXT-X-MAP:URI=\"init.mp4\"\n#EXTINF:2,\nseg 1.ts\n#EXTINF:2,\n../seg%202.m4s?a#b\n"
                "#EXTINF:2,\n../../out.ts\n#EXTINF:2,\n../.hidden.ts\n#EXTINF:2,\n/etc/passwd\n#EXTINF:2,\ndeep\n"
                "#EXTINF:2,\nlink-out.ts\n#EXTINF:2,\nlink-in.ts\n#EXTINF:2,\nlink-hidden.ts\n");
        for (const char* file :
             {"out.m3u8", "out.ts", "media/.hidden.m3u8", "media/.hidden.ts", "media/.git/config", "media/low/seg 1.ts",
              "media/low/init.mp4", "media/seg 2.m4s", "media/unnamed.ts", "media2/secret.ts"})
            addFile(m_folder, file, file);
        std::filesystem::create_symlink(m_folder.path() / "out.ts", m_media / "low/link-out.ts");
        std::filesystem::create_symlink("seg 1.ts", m_media / "low/link-in.ts");
        std::filesystem::create_symlink("../.hidden.ts", m_media / "low/link-hidden.ts");
        std::filesystem::create_symlink("../out.m3u8", m_media / "link.m3u8");
        addFile(m_folder, "out.m3u8", "#EXTM3U\nunnamed.ts\n");
    }

    HttpAnswer answer(const std::string& target) const { return fetch(m_base + target); }

    TemporaryFolder m_folder;
    const std::filesystem::path m_media = m_folder.path() / "media";
    MediaServer m_server;
    const ServedMedium m_medium{m_server, {"", m_media / "master.m3u8"}, MediumForm::Playlist};
    const std::string m_base = m_medium.url().substr(0, m_medium.url().rfind('/') + 1);
};

TEST_F(PlaylistServingTest, ServesWhatThePlaylistsName) {
    EXPECT_TRUE(m_medium.url().ends_with("/master.m3u8"));
    EXPECT_TRUE(answer("master.m3u8").body.starts_with("#EXTM3U"));
    EXPECT_TRUE(answer("low/index.m3u8").body.starts_with("#EXTM3U"));
    EXPECT_EQ(answer("low/init.mp4").body, "media/low/init.mp4");
    EXPECT_EQ(answer("low/seg%201.ts").body, "media/low/seg 1.ts");
    EXPECT_EQ(answer("seg%202.m4s?a").body, "media/seg 2.m4s");
    EXPECT_EQ(answer("low/../seg%202.m4s").body, "media/seg 2.m4s");
    EXPECT_EQ(answer("low/link-in.ts").body, "media/low/seg 1.ts");
}

TEST_F(PlaylistServingTest, SaysWhatTheFilesAre) {
    for (const auto& [target, type] :
         {std::pair("master.m3u8", "application/vnd.apple.mpegurl"), std::pair("low/seg%201.ts", "video/mp2t"),
          std::pair("low/init.mp4", "video/mp4"), std::pair("seg%202.m4s", "video/iso.segment")}) {
        const HttpAnswer answered = answer(target);
        EXPECT_EQ(answered.header("Content-Type"), type);
        EXPECT_EQ(answered.header("Access-Control-Allow-Origin"), "*");
    }
    const ServedMedium manifest(m_server, {"", addFile(m_folder, "film.mpd", "<MPD/>")}, MediumForm::Playlist);
    EXPECT_EQ(fetch(manifest.url()).header("Content-Type"), "application/dash+xml");
}

TEST_F(PlaylistServingTest, ServesRangesOfASegment) {
    const HttpAnswer part = fetch(m_base + "low/init.mp4", "bytes=0-4");
    EXPECT_EQ(part.status, 206);
    EXPECT_EQ(part.body, "media");
}

TEST_F(PlaylistServingTest, FollowsAPlaylistThatChanges) {
    EXPECT_EQ(answer("unnamed.ts").status, 404);
    const auto playlist = addFile(m_folder, "media/low/index.m3u8", "#EXTM3U\n#EXTINF:2,\n../unnamed.ts\n");
    std::filesystem::last_write_time(playlist, std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_EQ(answer("unnamed.ts").body, "media/unnamed.ts");
    EXPECT_EQ(answer("low/seg%201.ts").status, 404);
}

TEST_F(PlaylistServingTest, ServesNothingElse) {
    const std::string path = m_base.substr(m_base.find('/', 7)); // "/TOKEN/"
    const std::string outside = m_folder.path().string().substr(1);
    for (const std::string target : {"unnamed.ts",
                                     "low/",
                                     "low",
                                     "",
                                     "low/deep",
                                     ".git/config",
                                     ".hidden.ts",
                                     ".hidden.m3u8",
                                     "%2ehidden.ts",
                                     "low/link-out.ts",
                                     "low/link-hidden.ts",
                                     "link.m3u8",
                                     "../out.ts",
                                     "%2e%2e/out.ts",
                                     "..%2fout.ts",
                                     "%2e%2e%2fout.ts",
                                     "low/../../out.ts",
                                     "low/%2e%2e/%2e%2e/out.ts",
                                     "low/..%2f..%2fout.ts",
                                     "..%5cout.ts",
                                     "..\\out.ts",
                                     "%252e%252e/out.ts",
                                     "../media2/secret.ts",
                                     "../media/unnamed.ts",
                                     "/etc/passwd",
                                     "//etc/passwd",
                                     "%2fetc%2fpasswd",
                                     "file:///etc/passwd",
                                     "low/seg%201.ts%00",
                                     "low/seg%201.ts/",
                                     "low//etc/passwd",
                                     "....//out.ts",
                                     "low/..;/..;/out.ts"})
        EXPECT_EQ(statusOf(m_medium.url(), path + target), 404) << target;
    EXPECT_EQ(statusOf(m_medium.url(), path.substr(0, path.size() - 1)), 404) << "the folder itself";
    EXPECT_EQ(statusOf(m_medium.url(), "/" + outside + "/out.ts"), 404);
    EXPECT_EQ(statusOf(m_medium.url(), path + "low/init.mp4"), 200) << "what is served";
}

TEST_F(PlaylistServingTest, ServesNothingBesideAMediumThatIsNoPlaylist) {
    const ServedMedium single(m_server, {"", m_media / "master.m3u8"});
    for (const char* target : {"/", "/master.m3u8", "/low/index.m3u8"})
        EXPECT_EQ(fetch(single.url() + target).status, 404) << target;
    EXPECT_EQ(fetch(single.url() + "?a=b").status, 200);
}

TEST_F(PlaylistServingTest, EndsWithThePlaylist) {
    std::optional<ServedMedium> medium(std::in_place, m_server, MediaLocation{"", m_media / "master.m3u8"},
                                       MediumForm::Playlist);
    const std::string url = *medium->urlOf("low/init.mp4");
    EXPECT_EQ(fetch(url).status, 200);
    medium.reset();
    EXPECT_EQ(fetch(url).status, 404);
}

TEST_F(PlaylistServingTest, ServesWhatAManifestNamesByAPattern) {
    const auto manifest =
        addFile(m_folder, "media/film.mpd",
                "<MPD><Period><AdaptationSet><SegmentTemplate media='$RepresentationID$-$Number%03d$.m4s'/>"
                "<Representation id='v'/></AdaptationSet></Period></MPD>");
    addFile(m_folder, "media/v-007.m4s", "seven");
    addFile(m_folder, "media/v-x.m4s");
    addFile(m_folder, "media/v-.m4s");
    const ServedMedium medium(m_server, {"", manifest}, MediumForm::Playlist);
    const std::string base = medium.url().substr(0, medium.url().rfind('/') + 1);
    EXPECT_EQ(fetch(base + "v-007.m4s").body, "seven");
    for (const char* other : {"v-x.m4s", "v-.m4s", "v-008.m4s", "unnamed.ts", "v-007.m4s.ts"})
        EXPECT_EQ(fetch(base + other).status, 404) << other;
}

/// Answers with the path that was requested.
bool answerWithPath(const std::string& header, TcpConnection& connection) {
    const std::string path = header.substr(4, header.find(' ', 4) - 4);
    return connection.write("HTTP/1.1 200 OK\r\nContent-Type: video/mp2t\r\nContent-Length: " +
                            std::to_string(path.size()) + "\r\n\r\n" + path);
}

TEST_F(PlaylistServingTest, FetchesWhatIsBelowAnHttpPlaylist) {
    ScriptedServer source(answerWithPath);
    const ServedMedium medium(m_server, {source.url("/a/b/list.m3u8?token=1"), ""}, MediumForm::Playlist);
    EXPECT_TRUE(medium.url().ends_with("/list.m3u8"));
    const std::string base = medium.url().substr(0, medium.url().rfind('/') + 1);
    EXPECT_EQ(fetch(medium.url()).body, "/a/b/list.m3u8?token=1");
    EXPECT_EQ(fetch(base + "low/seg%201.ts?x=%20y&z").body, "/a/b/low/seg%201.ts?x=%20y&z");
    const std::size_t asked = source.requests().size();
    const std::string path = base.substr(base.find('/', 7));
    for (const char* target : {"", "../c", "%2e%2e/c", "..%2fc", "low/../../c", ".hidden", "/c", "low/", "..%5cc",
                               "http://127.0.0.1:1/c", "@127.0.0.1:1/..", "x%00"})
        EXPECT_EQ(statusOf(medium.url(), path + target), 404) << target;
    EXPECT_EQ(source.requests().size(), asked) << "nothing of it is passed on";
}

TEST(PlaylistReferences, AreNamesBelowTheFolder) {
    for (const auto& [reference, name] :
         {std::pair("a.ts", "a.ts"), std::pair("./a/./b.ts?c#d", "a/b.ts"), std::pair("a/../b.ts", "b.ts"),
          std::pair("a%20b.ts", "a b.ts"), std::pair("a//b.ts", "a/b.ts"), std::pair("100%.ts", "")})
        EXPECT_EQ(nameOfReference("", reference).value_or(""), name) << reference;
    EXPECT_EQ(nameOfReference("x/y/", "../a.ts"), "x/a.ts");
    EXPECT_EQ(nameOfReference("x/y/", "../../a.ts"), "a.ts");
    for (const char* reference : {"", "?a", "#a", "/a.ts", "//host/a.ts", "http://host/a.ts", "data:,a",
                                  "../../../a.ts", ".a.ts", "a/.b", "a/", "..", ".", "a/..", "%2fa", "%00", "a\\b"})
        EXPECT_EQ(nameOfReference("x/y/", reference), std::nullopt) << reference;
}

/// Playlists as ffmpeg writes them: HLS with two variants, and a DASH manifest.
class PlaylistConsumerTest : public testing::Test {
protected:
    void SetUp() override {
        if (!isInstalled("ffmpeg"))
            GTEST_SKIP() << "the program ffmpeg is missing";
        if (!isInstalled("ffprobe"))
            GTEST_SKIP() << "the program ffprobe is missing";
        const std::string source = "cd " + m_folder.path().string() +
                                   " && ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=320x240:rate=10:duration=4 ";
        const std::string low = "[0:v]split[a][b];[b]scale=160:120[c]";
        const std::string codec = " -c:v mpeg2video -g 10 ";
        const ProgramResult hls = runInShell(
            source + "-filter_complex '" + low + "' -map '[a]' -map '[c]'" + codec +
            "-f hls -hls_time 1 -hls_list_size 0 -master_pl_name master.m3u8 "
            "-var_stream_map 'v:0,name:high v:1,name:low' -hls_segment_filename '%v/part%d.ts' %v/index.m3u8");
        ASSERT_EQ(hls.status, 0) << hls.output;
        const ProgramResult dash =
            runInShell(source + "-c:v libvpx -deadline realtime -dash_segment_type webm -g 10 -f "
                                "dash -seg_duration 1 film.mpd");
        ASSERT_EQ(dash.status, 0) << dash.output;
    }

    /// What a program sees of a playlist: of the file, and at its local URL.
    void expectSame(const std::string& program, const std::string& playlist) {
        const std::filesystem::path file = m_folder.path() / playlist;
        MediaServer server;
        const ServedMedium medium(server, {"", file}, MediumForm::Playlist);
        MediaServer second;
        const ServedMedium remote(second, {medium.url(), ""}, MediumForm::Playlist);
        const ProgramResult expected = runInShell(program + file.string());
        EXPECT_EQ(expected.status, 0) << expected.output;
        EXPECT_NE(expected.output, "");
        for (const ServedMedium* served : {&medium, &remote}) {
            const ProgramResult seen = runInShell("no_proxy=127.0.0.1 " + program + served->url());
            EXPECT_EQ(seen.status, 0) << seen.output;
            EXPECT_EQ(seen.output, expected.output) << (served == &medium ? "of a file" : "of an http medium");
        }
    }

    TemporaryFolder m_folder;
};

TEST_F(PlaylistConsumerTest, FfprobeFindsEveryVariant) {
    const std::string ffprobe = "ffprobe -v error -show_entries stream=codec_name,height -of csv=p=0 ";
    expectSame(ffprobe, "master.m3u8");
    expectSame(ffprobe, "film.mpd");
}

TEST_F(PlaylistConsumerTest, FfmpegDecodesEveryPicture) {
    for (const char* playlist : {"master.m3u8", "film.mpd"})
        expectSame("sh -c 'ffmpeg -nostdin -v error -i \"$0\" -map 0:v:0 -f framemd5 -' ", playlist);
}

TEST_F(PlaylistConsumerTest, GstreamerDiscoversThePictures) {
    if (!isInstalled("gst-discoverer-1.0"))
        GTEST_SKIP() << "the program gst-discoverer-1.0 is missing";
    for (const char* element : {"hlsdemux", "dashdemux", "tsdemux", "avdec_mpeg2video"})
        if (runInShell("gst-inspect-1.0 --exists " + std::string(element)).status != 0)
            GTEST_SKIP() << "GStreamer's element " << element << " is missing";
    for (const char* playlist : {"master.m3u8", "film.mpd"}) {
        MediaServer server;
        const ServedMedium medium(server, {"", m_folder.path() / playlist}, MediumForm::Playlist);
        const ProgramResult seen = runInShell("no_proxy=127.0.0.1 gst-discoverer-1.0 " + medium.url());
        EXPECT_EQ(seen.status, 0) << seen.output;
        EXPECT_NE(seen.output.find("video"), std::string::npos) << seen.output;
    }
}

TEST_F(PlaylistConsumerTest, CurlFetchesWhatThePlaylistsName) {
    if (!isInstalled("curl"))
        GTEST_SKIP() << "the program curl is missing";
    MediaServer server;
    const ServedMedium medium(server, {"", m_folder.path() / "master.m3u8"}, MediumForm::Playlist);
    const std::string curl = "curl -qsSf --noproxy '*' " + medium.url().substr(0, medium.url().rfind('/'));
    for (const char* name : {"/master.m3u8", "/low/index.m3u8", "/high/part3.ts"})
        EXPECT_TRUE(runInShell(curl + name).output == fileBytes(m_folder.path().string() + name)) << name;
    EXPECT_NE(runInShell(curl + "/film.mpd").status, 0) << "which the playlist does not name";
}

} // namespace
} // namespace velmora::desktop
