// Responses from files, and how long media are served.
#include "desktop/service/http/served_film.h"
#include "desktop/service/http/tcp_connection.h"
#include "support/http_client.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <set>

namespace velmora::desktop {
namespace {

class MediaServerTest : public ServedFilm {
protected:
    /// A file that is larger than the kernel's buffers of a connection.
    std::filesystem::path addBigFile() {
        const std::filesystem::path big = addFile(m_folder, "big.webm");
        std::filesystem::resize_file(big, 1U << 30);
        return big;
    }
};

TEST_F(MediaServerTest, ServesAFileWhole) {
    const HttpAnswer answer = fetch(m_medium.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == m_bytes);
    EXPECT_EQ(answer.header("Content-Length"), "200000");
    EXPECT_EQ(answer.header("Content-Range"), "");
    EXPECT_EQ(answer.header("Content-Type"), "video/webm");
    EXPECT_EQ(answer.header("Accept-Ranges"), "bytes");
    EXPECT_EQ(answer.header("Cache-Control"), "no-store");
}

TEST_F(MediaServerTest, TellsAboutAFileWithoutSendingIt) {
    const HttpAnswer answer = fetchHeader(m_medium.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "");
    EXPECT_EQ(answer.header("Content-Length"), "200000");
    EXPECT_EQ(answer.header("Content-Type"), "video/webm");
    EXPECT_EQ(answer.header("Accept-Ranges"), "bytes");
}

struct RangeRequest {
    const char* name;
    const char* range;
    std::size_t first;
    std::size_t length;
    const char* contentRange;
};

class RangeTest : public MediaServerTest, public testing::WithParamInterface<RangeRequest> {};

TEST_P(RangeTest, IsServedAsThePartOfTheFile) {
    const HttpAnswer answer = fetch(m_medium.url(), GetParam().range);
    EXPECT_EQ(answer.status, 206);
    EXPECT_TRUE(answer.body == m_bytes.substr(GetParam().first, GetParam().length));
    EXPECT_EQ(answer.header("Content-Range"), GetParam().contentRange);
    EXPECT_EQ(answer.header("Content-Length"), std::to_string(GetParam().length));
    EXPECT_EQ(answer.header("Content-Type"), "video/webm");
}

INSTANTIATE_TEST_SUITE_P(
    MediaServer, RangeTest,
    testing::Values(RangeRequest{"Middle", "bytes=10-19", 10, 10, "bytes 10-19/200000"},
                    RangeRequest{"FirstByte", "bytes=0-0", 0, 1, "bytes 0-0/200000"},
                    RangeRequest{"Whole", "bytes=0-", 0, 200'000, "bytes 0-199999/200000"},
                    RangeRequest{"AcrossBlocks", "bytes=65530-131080", 65'530, 65'551, "bytes 65530-131080/200000"},
                    RangeRequest{"Open", "bytes=199990-", 199'990, 10, "bytes 199990-199999/200000"},
                    RangeRequest{"BeyondEnd", "bytes=199990-999999", 199'990, 10, "bytes 199990-199999/200000"},
                    RangeRequest{"FarBeyondEnd", "bytes=0-99999999999999999999", 0, 200'000, "bytes 0-199999/200000"},
                    RangeRequest{"Suffix", "bytes=-5", 199'995, 5, "bytes 199995-199999/200000"},
                    RangeRequest{"LongSuffix", "bytes=-999999", 0, 200'000, "bytes 0-199999/200000"}),
    [](const auto& tested) { return tested.param.name; });

class ImpossibleRangeTest : public MediaServerTest, public testing::WithParamInterface<std::string> {};

TEST_P(ImpossibleRangeTest, IsNotSatisfiable) {
    const HttpAnswer answer = fetch(m_medium.url(), GetParam());
    EXPECT_EQ(answer.status, 416);
    EXPECT_EQ(answer.body, "");
    EXPECT_EQ(answer.header("Content-Range"), "bytes */200000");
}

INSTANTIATE_TEST_SUITE_P(MediaServer, ImpossibleRangeTest,
                         testing::Values("bytes=200000-", "bytes=200000-200010", "bytes=-0", "bytes=20-10", "bytes=-",
                                         "bytes=", "bytes=x-y", "bytes=99999999999999999999-",
                                         "bytes=" + std::string(4000, '1') + "-"));

class IgnoredRangeTest : public MediaServerTest, public testing::WithParamInterface<std::string> {};

TEST_P(IgnoredRangeTest, BringsTheWhole) {
    const HttpAnswer answer = fetch(m_medium.url(), GetParam());
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == m_bytes);
    EXPECT_EQ(answer.header("Content-Range"), "");
}

INSTANTIATE_TEST_SUITE_P(MediaServer, IgnoredRangeTest, testing::Values("lines=1-2", "bytes=0-1,5-6", "nonsense"));

TEST_F(MediaServerTest, IgnoresARangeOfARequestForTheHeader) {
    const HttpAnswer answer = ask(m_medium.url(), {.method = "HEAD", .headers = {"Range: bytes=0-1"}});
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.header("Content-Length"), "200000");
}

TEST_F(MediaServerTest, ServesAnEmptyFile) {
    const ServedMedium empty(m_server, {"", addFile(m_folder, "empty.webm")});
    const HttpAnswer answer = fetch(empty.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.complete);
    EXPECT_EQ(answer.header("Content-Length"), "0");
    EXPECT_EQ(answer.header("Content-Type"), "video/webm");
    EXPECT_EQ(fetch(empty.url(), "bytes=0-").status, 416);
    EXPECT_EQ(fetch(empty.url(), "bytes=0-").header("Content-Range"), "bytes */0");
}

TEST_F(MediaServerTest, HasValidatorsThatChangeWithTheFile) {
    const HttpAnswer first = fetch(m_medium.url());
    const std::string etag = first.header("ETag");
    EXPECT_TRUE(etag.starts_with('"') && etag.ends_with('"') && etag.size() > 2) << etag;
    EXPECT_TRUE(first.header("Last-Modified").ends_with(" GMT"));
    EXPECT_EQ(fetchHeader(m_medium.url()).header("ETag"), etag);
    std::filesystem::last_write_time(m_film, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_NE(fetch(m_medium.url()).header("ETag"), etag);
    EXPECT_NE(fetch(m_medium.url()).header("Last-Modified"), first.header("Last-Modified"));
}

TEST_F(MediaServerTest, SendsNothingToAClientThatHasIt) {
    const HttpAnswer first = fetch(m_medium.url());
    for (const std::string& condition :
         {"If-None-Match: " + first.header("ETag"), "If-Modified-Since: " + first.header("Last-Modified")}) {
        const HttpAnswer answer = ask(m_medium.url(), {.headers = {condition, "Range: bytes=0-1"}});
        EXPECT_EQ(answer.status, 304) << condition;
        EXPECT_EQ(answer.body, "");
        EXPECT_EQ(answer.header("ETag"), first.header("ETag"));
        EXPECT_EQ(answer.header("Content-Type"), "");
    }
}

TEST_F(MediaServerTest, RefusesWhoseConditionIsNotMet) {
    for (const char* condition : {"If-Match: \"other\"", "If-Unmodified-Since: Sun, 06 Nov 1994 08:49:37 GMT"}) {
        EXPECT_EQ(ask(m_medium.url(), {.headers = {condition}}).status, 412) << condition;
        EXPECT_EQ(ask(m_medium.url(), {.method = "HEAD", .headers = {condition}}).status, 412) << condition;
    }
}

TEST_F(MediaServerTest, ServesARangeOfTheStateThatItIsFor) {
    const HttpAnswer first = fetchHeader(m_medium.url());
    const auto statusIf = [this](const std::string& condition) {
        return ask(m_medium.url(), {.headers = {"Range: bytes=0-9", "If-Range: " + condition}}).status;
    };
    EXPECT_EQ(statusIf(first.header("ETag")), 206);
    EXPECT_EQ(statusIf(first.header("Last-Modified")), 206);
    EXPECT_EQ(statusIf("\"other\""), 200);
    EXPECT_EQ(statusIf("Sun, 06 Nov 1994 08:49:37 GMT"), 200);
}

TEST_F(MediaServerTest, GivesEachMediumAPathOfItsOwnThatTellsNothing) {
    std::set<std::string> urls;
    for (int i = 0; i < 100; ++i)
        urls.insert(ServedMedium(m_server, {"", m_film}).url());
    EXPECT_EQ(urls.size(), 100U);
    EXPECT_EQ(m_medium.url().find("film"), std::string::npos);
    EXPECT_EQ(m_medium.url().size() - m_medium.url().rfind('/'), 33U);
}

TEST_F(MediaServerTest, HasNothingElse) {
    for (const std::string& path :
         {std::string("/"), std::string("/../etc/passwd"), std::string("/film.webm"), "/" + std::string(32, '0')})
        EXPECT_EQ(fetch(urlOf(path)).status, 404) << path;
}

TEST_F(MediaServerTest, ForgetsAMediumThatIsWithdrawn) {
    auto medium = std::make_unique<ServedMedium>(m_server, MediaLocation{"", m_film});
    const std::string url = medium->url();
    ASSERT_EQ(fetch(url).status, 200);
    medium.reset();
    EXPECT_EQ(fetch(url).status, 404);
    EXPECT_EQ(fetch(m_medium.url()).status, 200);
}

TEST_F(MediaServerTest, EndsATransferWhenItsMediumIsWithdrawn) {
    auto medium = std::make_unique<ServedMedium>(m_server, MediaLocation{"", addBigFile()});
    TcpConnection reader(medium->url(), 4096);
    reader.write(getRequest(medium->url()));
    ASSERT_TRUE(reader.readHeader().starts_with("HTTP/1.1 200"));
    medium.reset();
    EXPECT_LT(reader.readRest().size(), 1U << 30);
}

TEST_F(MediaServerTest, AnswersNotFoundForAFileThatIsGone) {
    std::filesystem::remove(m_film);
    EXPECT_EQ(fetch(m_medium.url()).status, 404);
}

TEST_F(MediaServerTest, AnswersNotFoundWhenAFolderTookTheFilesPlace) {
    std::filesystem::remove(m_film);
    std::filesystem::create_directory(m_film);
    EXPECT_EQ(fetch(m_medium.url()).status, 404);
}

TEST_F(MediaServerTest, CutsATransferShortWhenTheFileShrinks) {
    const std::filesystem::path big = addBigFile();
    const ServedMedium medium(m_server, {"", big});
    TcpConnection reader(medium.url(), 4096);
    reader.write(getRequest(medium.url()));
    reader.readHeader();
    std::filesystem::resize_file(big, 1000);
    EXPECT_LT(reader.readRest().size(), 1U << 30);
}

TEST_F(MediaServerTest, NeverSendsBytesOfTwoStatesOfAFile) {
    const std::filesystem::path big = addBigFile(); // zeros
    const ServedMedium medium(m_server, {"", big});
    TcpConnection reader(medium.url(), 4096);
    reader.write(getRequest(medium.url()));
    reader.readHeader();
    std::fstream file(big, std::ios::in | std::ios::out | std::ios::binary);
    const std::string other(1 << 20, 'x');
    for (int i = 0; i < 64; ++i)
        file.write(other.data(), static_cast<std::streamsize>(other.size()));
    file.close();
    const std::string received = reader.readRest();
    EXPECT_LT(received.size(), 1U << 30);
    EXPECT_EQ(received.find('x'), std::string::npos);
}

TEST_F(MediaServerTest, FinishesAFileWhoseNameWasGivenToAnother) {
    const ServedMedium medium(m_server, {"", addFile(m_folder, "old.webm", manyBytes(20'000'000))});
    TcpConnection reader(medium.url(), 4096);
    reader.write(getRequest(medium.url()));
    reader.readHeader();
    std::filesystem::rename(m_film, m_folder.path() / "old.webm");
    EXPECT_TRUE(reader.read(20'000'000) == manyBytes(20'000'000));
    EXPECT_TRUE(fetch(medium.url()).body == m_bytes);
}

TEST_F(MediaServerTest, ServesSeveralReadersAtOnce) {
    std::vector<std::future<HttpAnswer>> answers;
    for (int i = 0; i < 8; ++i)
        answers.push_back(std::async(std::launch::async, [this] { return fetch(m_medium.url()); }));
    for (auto& answer : answers)
        EXPECT_TRUE(answer.get().body == m_bytes);
}

TEST_F(MediaServerTest, NamesTheContentOfOtherFiles) {
    const ServedMedium sound(m_server, {"", addFile(m_folder, "tone.ogg", "x")});
    const ServedMedium capitals(m_server, {"", addFile(m_folder, "FILM.MP4", "x")});
    const ServedMedium unknown(m_server, {"", addFile(m_folder, "film", "x")});
    EXPECT_EQ(fetch(sound.url()).header("Content-Type"), "audio/ogg");
    EXPECT_EQ(fetch(capitals.url()).header("Content-Type"), "video/mp4");
    EXPECT_EQ(fetch(unknown.url()).header("Content-Type"), "application/octet-stream");
}

} // namespace
} // namespace velmora::desktop
