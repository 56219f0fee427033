#include "service/http/media_server.h"
#include "support/http_client.h"
#include "support/test_files.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <future>
#include <set>

namespace velmora::desktop {
namespace {

/// Bytes of which none is like its neighbours, more than one chunk of a transfer.
std::string manyBytes() {
    std::string bytes;
    for (unsigned i = 0; i < 200'000; ++i)
        bytes.push_back(static_cast<char>(i * 7 + i / 256));
    return bytes;
}

/// An http source of the test's own, as a medium's server.
class Source {
public:
    explicit Source(const std::string& bytes) {
        m_server.Get("/film.webm", [bytes](const httplib::Request& request, httplib::Response& response) {
            if (!request.ranges.empty() && request.ranges[0].first >= static_cast<ssize_t>(bytes.size())) {
                response.status = 416;
                response.set_header("Content-Range", "bytes */" + std::to_string(bytes.size()));
                return;
            }
            response.set_header("Accept-Ranges", "bytes");
            response.set_content(bytes, "video/webm");
        });
        m_server.Get("/stream", [](const httplib::Request&, httplib::Response& response) {
            response.set_chunked_content_provider("video/webm", [](std::size_t, httplib::DataSink& sink) {
                sink.write("stream", 6);
                sink.done();
                return true;
            });
        });
        m_server.Get("/moved",
                     [](const httplib::Request&, httplib::Response& response) { response.set_redirect("/film.webm"); });
        m_server.Get("/query", [](const httplib::Request& request, httplib::Response& response) {
            response.set_content(request.target, "text/plain");
        });
        m_port = m_server.bind_to_any_port("127.0.0.1");
        m_thread = std::jthread([this] { m_server.listen_after_bind(); });
        while (!m_server.is_running())
            std::this_thread::yield();
    }
    ~Source() { m_server.stop(); }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    std::string url(const std::string& target) const { return "http://127.0.0.1:" + std::to_string(m_port) + target; }

private:
    httplib::Server m_server;
    int m_port = 0;
    std::jthread m_thread;
};

class MediaServerTest : public testing::Test {
protected:
    const std::string m_bytes = manyBytes();
    TemporaryFolder m_folder;
    const std::filesystem::path m_film = addFile(m_folder, "film.webm", m_bytes);
    MediaServer m_server;
    const ServedMedium m_medium{m_server, {"", m_film}};
};

TEST_F(MediaServerTest, ServesAFileWhole) {
    const HttpAnswer answer = fetch(m_medium.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == m_bytes);
    EXPECT_EQ(answer.header("Content-Length"), "200000");
    EXPECT_EQ(answer.header("Content-Range"), "");
    EXPECT_EQ(answer.header("Content-Type"), "video/webm");
    EXPECT_EQ(answer.header("Accept-Ranges"), "bytes");
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
                    RangeRequest{"AcrossChunks", "bytes=65530-131080", 65'530, 65'551, "bytes 65530-131080/200000"},
                    RangeRequest{"Open", "bytes=199990-", 199'990, 10, "bytes 199990-199999/200000"},
                    RangeRequest{"BeyondEnd", "bytes=199990-999999", 199'990, 10, "bytes 199990-199999/200000"},
                    RangeRequest{"Suffix", "bytes=-5", 199'995, 5, "bytes 199995-199999/200000"},
                    RangeRequest{"LongSuffix", "bytes=-999999", 0, 200'000, "bytes 0-199999/200000"}),
    [](const auto& tested) { return tested.param.name; });

class ImpossibleRangeTest : public MediaServerTest, public testing::WithParamInterface<std::string> {};

TEST_P(ImpossibleRangeTest, IsNotSatisfiable) {
    const HttpAnswer answer = fetch(m_medium.url(), GetParam());
    EXPECT_EQ(answer.status, 416);
    EXPECT_EQ(answer.body, "");
}

INSTANTIATE_TEST_SUITE_P(MediaServer, ImpossibleRangeTest,
                         testing::Values("bytes=200000-", "bytes=200000-200010", "bytes=-0", "bytes=20-10", "bytes=-",
                                         "bytes=", "bytes=x-y", "lines=1-2", "bytes=0-1,5-6",
                                         "bytes=99999999999999999999-", "bytes=0-99999999999999999999",
                                         "bytes=" + std::string(4000, '1') + "-"));

TEST_F(MediaServerTest, SaysHowLongTheFileIsWhenARangeIsBehindIt) {
    EXPECT_EQ(fetch(m_medium.url(), "bytes=200000-").header("Content-Range"), "bytes */200000");
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
    const std::string url = m_medium.url();
    const std::string origin = url.substr(0, url.rfind('/'));
    for (const std::string& path : {std::string("/"), std::string("/../etc/passwd"), std::string("/film.webm"),
                                    "/" + std::string(32, '0'), "/" + std::string(8000, 'a')})
        EXPECT_NE(fetch(origin + path).status / 100, 2) << path;
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
    const std::filesystem::path big = m_folder.path() / "big.webm";
    addFile(m_folder, "big.webm");
    std::filesystem::resize_file(big, 1U << 30);
    auto medium = std::make_unique<ServedMedium>(m_server, MediaLocation{"", big});
    const std::string url = medium->url();
    const std::size_t path = url.rfind('/');
    std::size_t received = 0;
    httplib::Client client(url.substr(0, path));
    const auto result = client.Get(url.substr(path), [&](const char*, std::size_t size) {
        received += size;
        medium.reset();
        return true;
    });
    EXPECT_FALSE(result);
    EXPECT_GT(received, 0U);
    EXPECT_LT(received, 1U << 30);
}

TEST_F(MediaServerTest, AnswersNotFoundForAFileThatIsGone) {
    std::filesystem::remove(m_film);
    EXPECT_EQ(fetch(m_medium.url()).status, 404);
}

TEST_F(MediaServerTest, ServesSeveralReadersAtOnce) {
    // The first request has the HTTP library make tables of its own. It is not instrumented: ThreadSanitizer would take
    // what other threads read of them meanwhile for a race.
    ASSERT_EQ(fetch(m_medium.url()).status, 200);
    std::vector<std::future<HttpAnswer>> answers;
    for (int i = 0; i < 8; ++i)
        answers.push_back(std::async(std::launch::async, [this] { return fetch(m_medium.url()); }));
    for (auto& answer : answers)
        EXPECT_TRUE(answer.get().body == m_bytes);
}

TEST_F(MediaServerTest, NamesTheContentOfOtherFiles) {
    const ServedMedium sound(m_server, {"", addFile(m_folder, "tone.ogg", "x")});
    const ServedMedium unknown(m_server, {"", addFile(m_folder, "film", "x")});
    EXPECT_EQ(fetch(sound.url()).header("Content-Type"), "audio/ogg");
    EXPECT_EQ(fetch(unknown.url()).header("Content-Type"), "application/octet-stream");
}

class UpstreamTest : public MediaServerTest {
protected:
    const Source m_source{m_bytes};
    const ServedMedium m_medium{m_server, {m_source.url("/film.webm"), ""}};
};

TEST_F(UpstreamTest, PassesAnHttpMediumOnWhole) {
    const HttpAnswer answer = fetch(m_medium.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == m_bytes);
    EXPECT_EQ(answer.header("Content-Type"), "video/webm");
    EXPECT_EQ(answer.header("Content-Length"), "200000");
    EXPECT_EQ(answer.header("Accept-Ranges"), "bytes");
}

TEST_F(UpstreamTest, PassesARangeOn) {
    const HttpAnswer answer = fetch(m_medium.url(), "bytes=1000-1999");
    EXPECT_EQ(answer.status, 206);
    EXPECT_TRUE(answer.body == m_bytes.substr(1000, 1000));
    EXPECT_EQ(answer.header("Content-Range"), "bytes 1000-1999/200000");
}

TEST_F(UpstreamTest, PassesARefusalOn) {
    const HttpAnswer answer = fetch(m_medium.url(), "bytes=200000-");
    EXPECT_EQ(answer.status, 416);
    EXPECT_EQ(answer.header("Content-Range"), "bytes */200000");
    const ServedMedium missing(m_server, {m_source.url("/missing"), ""});
    EXPECT_EQ(fetch(missing.url()).status, 404);
}

TEST_F(UpstreamTest, TellsAboutAMediumWithoutSendingIt) {
    const HttpAnswer answer = fetchHeader(m_medium.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.header("Content-Length"), "200000");
    EXPECT_EQ(answer.body, "");
}

TEST_F(UpstreamTest, PassesOnWhatHasNoLength) {
    const ServedMedium stream(m_server, {m_source.url("/stream"), ""});
    EXPECT_EQ(fetch(stream.url()).body, "stream");
}

TEST_F(UpstreamTest, FollowsASourceThatMoved) {
    const ServedMedium moved(m_server, {m_source.url("/moved"), ""});
    EXPECT_TRUE(fetch(moved.url()).body == m_bytes);
}

TEST_F(UpstreamTest, AsksForTheUrlWithoutItsFragment) {
    const ServedMedium query(m_server, {m_source.url("/query?a=b&c=d#e"), ""});
    EXPECT_EQ(fetch(query.url()).body, "/query?a=b&c=d");
}

TEST_F(UpstreamTest, IsABadGatewayWhenTheSourceDoesNotAnswer) {
    for (const char* url :
         {"http://127.0.0.1:1/x", "http://", "http:///x", "http://127.0.0.1:99999/x", "http://[::1"}) {
        const ServedMedium medium(m_server, {url, ""});
        EXPECT_EQ(fetch(medium.url()).status, 502) << url;
    }
}

} // namespace
} // namespace velmora::desktop
