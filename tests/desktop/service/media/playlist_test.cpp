#include "service/media/playlist.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

using Heights = std::vector<int>;
using References = std::vector<std::string>;

Playlist parsed(const std::string& text) {
    const std::optional<Playlist> playlist = parsePlaylist(text);
    EXPECT_TRUE(playlist) << text;
    return playlist.value_or(Playlist{});
}

Heights heightsIn(const Playlist& playlist) {
    Heights heights;
    for (const PlaylistVariant& variant : playlist.variants)
        heights.push_back(variant.height);
    return heights;
}

constexpr const char* kMaster =
    "#EXTM3U\r\n"
    "#EXT-X-VERSION:6\r\n"
    "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"a\",NAME=\"A, B\",URI=\"sound/index.m3u8\"\r\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=900,CODECS=\"avc1.4d401f,mp4a.40.2\",RESOLUTION=640x360\r\n"
    "middle.m3u8\r\n"
    "\r\n"
    "# a comment\r\n"
    "#EXT-X-STREAM-INF:RESOLUTION=426x240,BANDWIDTH=300\r\n"
    "low/index.m3u8?a=b\r\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=1000,RESOLUTION=640x360\r\n"
    "middle-again.m3u8\r\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=64,CODECS=\"mp4a.40.2\"\r\n"
    "sound.m3u8\r\n"
    "#EXT-X-STREAM-INF:BANDWIDTH=64\r\n"
    "unknown.m3u8\r\n"
    "#EXT-X-I-FRAME-STREAM-INF:BANDWIDTH=1,RESOLUTION=426x240,URI=\"pictures.m3u8\"";

TEST(HlsPlaylist, OffersOneVariantForEachHeight) {
    const Playlist playlist = parsed(kMaster);
    EXPECT_TRUE(playlist.master);
    EXPECT_EQ(heightsIn(playlist), (Heights{0, 240, 360}));
    EXPECT_EQ(playlist.variants.at(0).reference, "sound.m3u8");
    EXPECT_EQ(playlist.variants.at(1).reference, "low/index.m3u8?a=b");
    EXPECT_EQ(playlist.variants.at(2).reference, "middle.m3u8");
}

TEST(HlsPlaylist, NamesPlaylistsInLinesAndAttributes) {
    EXPECT_EQ(parsed(kMaster).references,
              (References{"sound/index.m3u8", "middle.m3u8", "low/index.m3u8?a=b", "middle-again.m3u8", "sound.m3u8",
                          "unknown.m3u8", "pictures.m3u8"}));
}

TEST(HlsPlaylist, NamesThePartsOfAMedium) {
    const Playlist playlist = parsed("\xef\xbb\xbf#EXTM3U\n#EXT-X-MAP:URI=\"init.mp4\",BYTERANGE=\"9@0\"\n"
                                     "#EXT-X-KEY:METHOD=AES-128,URI=\"key.bin\",IV=0x1\n#EXTINF:2.0,A title\nseg 1.ts\n"
                                     "#EXTINF:2.0,\n../seg2.ts  \n#EXT-X-ENDLIST\n");
    EXPECT_FALSE(playlist.master);
    EXPECT_TRUE(playlist.variants.empty());
    EXPECT_EQ(playlist.references, (References{"init.mp4", "key.bin", "seg 1.ts", "../seg2.ts"}));
}

TEST(HlsPlaylist, MayBeDamaged) {
    for (const char* text :
         {"#EXTM3U", "#EXTM3U\n#EXT-X-STREAM-INF", "#EXTM3U\n#EXT-X-STREAM-INF:", "#EXTM3U\n#EXT-X-MEDIA:URI=\"",
          "#EXTM3U\n#EXT-X-STREAM-INF:RESOLUTION=99999999999999x99999999999999\n", "#EXTM3U\n#EXT-X-MAP:URI=\"\"\n",
          "#EXTM3U\n#EXT-X-STREAM-INF:RESOLUTION=1x-2,=,,\"\n", "#EXTM3U\n#EXT-X-STREAM-INF:====\"\"\"\"\n\r\n"}) {
        const Playlist playlist = parsed(text);
        EXPECT_TRUE(playlist.variants.empty()) << text;
        EXPECT_TRUE(playlist.references.empty()) << text;
    }
}

constexpr const char* kManifest = R"(<?xml version="1.0"?>
<!DOCTYPE MPD [<!ENTITY bomb "bomb">]>
<MPD xmlns="urn:mpeg:dash:schema:mpd:2011">
  <BaseURL> media/ </BaseURL>
  <Period>
    <AdaptationSet mimeType="video/mp4">
      <SegmentTemplate media="$RepresentationID$/$Number%05d$.m4s" initialization="$RepresentationID$-init.mp4"/>
      <Representation id="high" width="640" height="360" bandwidth="900"/>
      <Representation id="low" width="426" height="240" bandwidth="300"/>
    </AdaptationSet>
    <AdaptationSet mimeType="audio/mp4">
      <Representation id="s"><BaseURL>sound.mp4</BaseURL><SegmentBase indexRange="1-2"/></Representation>
    </AdaptationSet>
    <AdaptationSet mimeType="text/vtt">
      <Representation id="t"><SegmentList><Initialization sourceURL="t0"/><SegmentURL media="t1"/></SegmentList>
      </Representation>
    </AdaptationSet>
  </Period>
</MPD>)";

TEST(DashManifest, OffersTheHeightsOfItsRepresentations) {
    const Playlist playlist = parsed(kManifest);
    EXPECT_FALSE(playlist.master);
    EXPECT_EQ(heightsIn(playlist), (Heights{240, 360}));
    for (const PlaylistVariant& variant : playlist.variants)
        EXPECT_EQ(variant.reference, "");
}

TEST(DashManifest, NamesFilesByTheirNamesAndByPatterns) {
    EXPECT_EQ(parsed(kManifest).references,
              (References{"media/high/\x01.m4s", "media/high-init.mp4", "media/low/\x01.m4s", "media/low-init.mp4",
                          "media/sound.mp4", "media/t0", "media/t1"}));
}

TEST(DashManifest, DoesNotExpandEntities) {
    EXPECT_EQ(parsed("<!DOCTYPE MPD [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><MPD><Period><AdaptationSet>"
                     "<Representation><BaseURL>&a;</BaseURL></Representation></AdaptationSet></Period></MPD>")
                  .references,
              References{"&a;"});
}

TEST(Playlist, IsNothingElse) {
    for (const char* text : {"", "\xef\xbb\xbf", "text", "#EXTM3", " #EXTM3U", "<html/>", "<MPD", "<a><MPD/></a>"})
        EXPECT_FALSE(parsePlaylist(text)) << text;
}

TEST(Playlist, IsKnownByItsBeginning) {
    for (const std::string text : {"#EXTM3U\n", "\xef\xbb\xbf#EXTM3U\n", "<?xml", "\xef\xbb\xbf \n<MPD>"})
        for (std::size_t size = 0; size <= text.size(); ++size)
            EXPECT_TRUE(mayBePlaylist(text.substr(0, size))) << text << size;
    for (const char* text : {"\x1a\x45\xdf\xa3", "#EXTINF", "OggS", "\xef\xbb\xbfx", "  x"})
        EXPECT_FALSE(mayBePlaylist(text)) << text;
}

TEST(Playlist, IsReadFromAFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(readPlaylist(addFile(folder, "a.m3u8", kMaster)), kMaster);
    EXPECT_EQ(readPlaylist(addFile(folder, "short.m3u8", "#EXTM3U")), "#EXTM3U");
    EXPECT_EQ(readPlaylist(addFile(folder, "film.webm", std::string(1000, 'x'))), "");
    EXPECT_EQ(readPlaylist(addFile(folder, "empty", "")), "");
    EXPECT_EQ(readPlaylist(folder.path() / "missing"), "");
    EXPECT_EQ(readPlaylist(addFile(folder, "large", "#EXTM3U" + std::string(kMaximumPlaylistSize, '\n'))), "");
}

} // namespace
} // namespace velmora::desktop
