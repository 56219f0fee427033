// What is passed on from upstream servers, for http and https media.
#include "desktop/service/http/scripted_server.h"
#include "desktop/service/http/served_film.h"
#include "desktop/service/http/tcp_connection.h"
#include "desktop/service/http/tls_server.h"
#include "support/awaiting.h"
#include "support/http_client.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <list>
#include <thread>

namespace velmora::desktop {
namespace {

using namespace std::chrono_literals;

constexpr const char* kOk = "HTTP/1.1 200 OK\r\n";

/// The answer to a request for a medium of an upstream server.
HttpAnswer answerFrom(MediaServer& server, const std::string& source, const HttpQuestion& question = {}) {
    const ServedMedium medium(server, {source, ""});
    return ask(medium.url(), question);
}

class UpstreamTest : public testing::Test {
protected:
    HttpAnswer answerTo(const std::string& sourceAnswer, const HttpQuestion& question = {}) {
        const ScriptedServer source(always(sourceAnswer));
        return answerFrom(m_server, source.url(), question);
    }

    const std::string m_bytes = manyBytes();
    MediaServer m_server;
    ScriptedServer m_source{serving(m_bytes)};
    const ServedMedium m_medium{m_server, {m_source.url(), ""}};
};

TEST_F(UpstreamTest, PassesAnHttpMediumOnWhole) {
    const HttpAnswer answer = fetch(m_medium.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == m_bytes);
    EXPECT_EQ(answer.header("Content-Type"), "video/webm");
    EXPECT_EQ(answer.header("Content-Length"), "200000");
    EXPECT_EQ(answer.header("Accept-Ranges"), "bytes");
    EXPECT_EQ(answer.header("Cache-Control"), "no-store");
    EXPECT_EQ(answer.header("Access-Control-Allow-Origin"), "*");
}

TEST_F(UpstreamTest, PassesARangeOn) {
    const HttpAnswer answer = fetch(m_medium.url(), "bytes=1000-1999");
    EXPECT_EQ(answer.status, 206);
    EXPECT_TRUE(answer.body == m_bytes.substr(1000, 1000));
    EXPECT_EQ(answer.header("Content-Range"), "bytes 1000-1999/200000");
    EXPECT_EQ(answer.header("Content-Length"), "1000");
}

TEST_F(UpstreamTest, PassesARefusalOn) {
    const HttpAnswer answer = fetch(m_medium.url(), "bytes=200000-");
    EXPECT_EQ(answer.status, 416);
    EXPECT_EQ(answer.header("Content-Range"), "bytes */200000");
    const HttpAnswer missing = answerTo("HTTP/1.1 404 No\r\nContent-Length: 6\r\n\r\n<html>");
    EXPECT_EQ(missing.status, 404);
    EXPECT_EQ(missing.body, "");
    EXPECT_EQ(answerTo("HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n").status, 503);
}

TEST_F(UpstreamTest, TellsAboutAMediumWithoutSendingIt) {
    const HttpAnswer answer = fetchHeader(m_medium.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.header("Content-Length"), "200000");
    EXPECT_EQ(answer.body, "");
    ASSERT_EQ(m_source.requests().size(), 1U);
    EXPECT_TRUE(m_source.requests().front().starts_with("HEAD "));
}

TEST_F(UpstreamTest, AsksOnceAndForBytesAsTheyAre) {
    ask(m_medium.url(), {.headers = {"Range: bytes=5-9", "If-Range: \"a\"", "If-Match: \"b\"", "If-None-Match: \"c\"",
                                     "If-Modified-Since: Sun, 06 Nov 1994 08:49:37 GMT",
                                     "If-Unmodified-Since: Sun, 06 Nov 1994 08:49:38 GMT", "Cookie: secret",
                                     "Origin: https://example.invalid", "Accept-Encoding: gzip"}});
    ASSERT_EQ(m_source.requests().size(), 1U);
    const std::string asked = m_source.requests().front();
    EXPECT_TRUE(asked.starts_with("GET /film.webm HTTP/1.1\r\n")) << asked;
    for (const char* line : {"Range: bytes=5-9", "If-Range: \"a\"", "If-Match: \"b\"", "If-None-Match: \"c\"",
                             "If-Modified-Since: Sun, 06 Nov 1994 08:49:37 GMT",
                             "If-Unmodified-Since: Sun, 06 Nov 1994 08:49:38 GMT", "Accept-Encoding: identity"})
        EXPECT_NE(asked.find("\r\n" + std::string(line) + "\r\n"), std::string::npos) << line;
    for (const char* name : {"Cookie", "Origin", "gzip"})
        EXPECT_EQ(asked.find(name), std::string::npos) << name;
}

TEST_F(UpstreamTest, AsksForTheWholeInsteadOfSeveralRanges) {
    const HttpAnswer answer = ask(m_medium.url(), {.headers = {"Range: bytes=0-1,5-6", "If-Range: \"a\""}});
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == m_bytes);
    EXPECT_EQ(m_source.requests().front().find("Range"), std::string::npos);
}

TEST_F(UpstreamTest, PassesNothingOnButWhatSaysWhatTheBodyIs) {
    const HttpAnswer answer =
        answerTo("HTTP/1.1 200 OK\r\nContent-Type: video/mp4\r\nContent-Length: 2\r\nETag: \"x\"\r\n"
                 "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\nAccept-Ranges: none\r\n"
                 "Set-Cookie: a=b\r\nServer: s\r\nX-Powered-By: p\r\nAccess-Control-Allow-Origin: https://other\r\n"
                 "Strict-Transport-Security: max-age=1\r\nCache-Control: public\r\nConnection: close\r\n\r\nok");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "ok");
    EXPECT_EQ(answer.header("Content-Type"), "video/mp4");
    EXPECT_EQ(answer.header("ETag"), "\"x\"");
    EXPECT_EQ(answer.header("Last-Modified"), "Sun, 06 Nov 1994 08:49:37 GMT");
    EXPECT_EQ(answer.header("Accept-Ranges"), "none");
    EXPECT_EQ(answer.header("Access-Control-Allow-Origin"), "*");
    EXPECT_EQ(answer.header("Cache-Control"), "no-store");
    for (const char* name : {"Set-Cookie", "Server", "X-Powered-By", "Strict-Transport-Security"})
        EXPECT_EQ(answer.header(name), "") << name;
}

TEST_F(UpstreamTest, LeavesFieldsOutThatMeanNothing) {
    const HttpAnswer answer =
        answerTo("HTTP/1.1 200 OK\r\nContent-Type: a\x01b\r\nETag: bare\r\nLast-Modified: then\r\n"
                 "Accept-Ranges: lines\r\nContent-Range: bytes 0-1/2\r\nContent-Length: 2\r\n\r\nok");
    EXPECT_EQ(answer.status, 200);
    for (const char* name : {"Content-Type", "ETag", "Last-Modified", "Accept-Ranges", "Content-Range"})
        EXPECT_EQ(answer.header(name), "") << name;
}

TEST_F(UpstreamTest, PassesOnThatNothingChanged) {
    const HttpAnswer answer =
        answerTo("HTTP/1.1 304 Not Modified\r\nETag: \"x\"\r\n\r\n", {.headers = {"If-None-Match: \"x\""}});
    EXPECT_EQ(answer.status, 304);
    EXPECT_EQ(answer.header("ETag"), "\"x\"");
    EXPECT_EQ(answerTo("HTTP/1.1 412 No\r\nContent-Length: 0\r\n\r\n").status, 412);
}

TEST_F(UpstreamTest, PassesOnWhatHasNoLength) {
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n6\r\nstream\r\n0\r\n\r\n";
    EXPECT_EQ(answerTo(chunked).body, "stream");
    EXPECT_EQ(answerTo("HTTP/1.0 200 OK\r\n\r\nup to the end").body, "up to the end");
    const HttpAnswer empty = answerTo("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(empty.status, 200);
    EXPECT_TRUE(empty.complete);
}

TEST_F(UpstreamTest, PassesTheBeginningOnWhileTheRestIsAwaited) {
    std::atomic<bool> go = false;
    const ScriptedServer source([&go](const std::string&, TcpConnection& connection) {
        connection.write("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\nhalf");
        while (!go)
            std::this_thread::sleep_for(1ms);
        connection.write("done");
        return false;
    });
    const ServedMedium medium(m_server, {source.url(), ""});
    TcpConnection reader(medium.url());
    reader.write(getRequest(medium.url()));
    reader.readHeader();
    EXPECT_EQ(reader.read(4), "half");
    go = true;
    EXPECT_EQ(reader.read(4), "done");
}

TEST_F(UpstreamTest, FollowsASourceThatMoved) {
    const ScriptedServer moved(
        always("HTTP/1.1 302 Found\r\nLocation: " + m_source.url() + "\r\nContent-Length: 5\r\n\r\nmoved"));
    EXPECT_TRUE(answerFrom(m_server, moved.url()).body == m_bytes);
    const HttpAnswer part = answerFrom(m_server, moved.url(), {.headers = {"Range: bytes=3-5"}});
    EXPECT_EQ(part.status, 206);
    EXPECT_EQ(part.body, m_bytes.substr(3, 3));
}

TEST_F(UpstreamTest, FollowsNoSourceThatMovesForEverOrAwayFromTheWeb) {
    ScriptedServer circle(always("HTTP/1.1 302 Found\r\nLocation: /again\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_EQ(answerFrom(m_server, circle.url()).status, 502);
    EXPECT_EQ(circle.requests().size(), 6U); // the first, and five redirects
    for (const char* target : {"file:///etc/passwd", "ftp://127.0.0.1/film", "gopher://127.0.0.1/"})
        EXPECT_EQ(answerTo("HTTP/1.1 302 Found\r\nLocation: " + std::string(target) + "\r\n\r\n").status, 502)
            << target;
    EXPECT_EQ(answerTo("HTTP/1.1 302 Found\r\nContent-Length: 0\r\n\r\n").status, 502);
}

TEST_F(UpstreamTest, AsksForTheUrlWithoutItsFragment) {
    answerFrom(m_server, m_source.url("/query?a=b&c=d#e"));
    EXPECT_TRUE(m_source.requests().front().starts_with("GET /query?a=b&c=d HTTP/1.1\r\n"));
}

TEST_F(UpstreamTest, IsABadGatewayWhenTheSourceDoesNotAnswer) {
    for (const char* url : {"http://127.0.0.1:1/x", "http://", "http:///x", "http://127.0.0.1:99999/x", "http://[::1"})
        EXPECT_EQ(answerFrom(m_server, url).status, 502) << url;
}

struct BadAnswer {
    const char* name;
    std::string answer;
};

class BadAnswerTest : public UpstreamTest, public testing::WithParamInterface<BadAnswer> {};

TEST_P(BadAnswerTest, IsABadGateway) {
    const HttpAnswer answer = answerTo(GetParam().answer);
    EXPECT_EQ(answer.status, 502);
    EXPECT_EQ(answer.body, "");
}

INSTANTIATE_TEST_SUITE_P(
    Upstream, BadAnswerTest,
    testing::Values(
        BadAnswer{"Nothing", ""}, BadAnswer{"NoHttp", "SSH-2.0-x\r\n\r\n"},
        BadAnswer{"HalfAHeader", "HTTP/1.1 200 OK\r\nA"},
        BadAnswer{"LengthOfLetters", kOk + std::string("Content-Length: many\r\n\r\nok")},
        BadAnswer{"NegativeLength", kOk + std::string("Content-Length: -2\r\n\r\nok")},
        BadAnswer{"LettersBehindTheLength", kOk + std::string("Content-Length: 2x\r\n\r\nok")},
        BadAnswer{"HugeLength", kOk + std::string("Content-Length: 99999999999999999999\r\n\r\nok")},
        BadAnswer{"TwoLengths", kOk + std::string("Content-Length: 2\r\nContent-Length: 3\r\n\r\nok!")},
        BadAnswer{"AListOfLengths", kOk + std::string("Content-Length: 2, 3\r\n\r\nok!")},
        BadAnswer{"Compressed", kOk + std::string("Content-Encoding: gzip\r\nContent-Length: 2\r\n\r\nok")},
        BadAnswer{"PartWithoutRange", "HTTP/1.1 206 Part\r\nContent-Length: 2\r\n\r\nok"},
        BadAnswer{"PartWithNonsenseRange",
                  "HTTP/1.1 206 Part\r\nContent-Range: bytes x\r\nContent-Length: 2\r\n\r\nok"},
        BadAnswer{"PartOfAnotherLength",
                  "HTTP/1.1 206 Part\r\nContent-Range: bytes 0-4/9\r\nContent-Length: 2\r\n\r\nok"},
        BadAnswer{"PartBehindTheEnd", "HTTP/1.1 206 Part\r\nContent-Range: bytes 8-9/9\r\nContent-Length: 2\r\n\r\nok"},
        BadAnswer{"WantsCredentials", "HTTP/1.1 401 Who\r\nWWW-Authenticate: Basic\r\nContent-Length: 2\r\n\r\nno"},
        BadAnswer{"StatusOfNoMeaning", "HTTP/1.1 299 Hm\r\nContent-Length: 2\r\n\r\nok"},
        BadAnswer{"LongHeader",
                  kOk + std::string("X: ") + std::string(70'000, 'x') + "\r\nContent-Length: 2\r\n\r\nok"}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(UpstreamTest, CutsShortWhatTheSourceCutsShort) {
    const HttpAnswer answer = answerTo("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "half");
    EXPECT_FALSE(answer.complete);
    const HttpAnswer chunked = answerTo("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n");
    EXPECT_EQ(chunked.body, "half");
    EXPECT_FALSE(chunked.complete);
}

TEST_F(UpstreamTest, SendsNoMoreThanTheSourcePromised) {
    EXPECT_EQ(answerTo("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok and more").body, "ok");
}

/// Sends "100 Continue" until the connection is cut.
ScriptedServer::Script continuing(std::chrono::milliseconds pause) {
    return [pause](const std::string&, TcpConnection& connection) {
        while (connection.write("HTTP/1.1 100 Continue\r\n\r\n"))
            std::this_thread::sleep_for(pause);
        return false;
    };
}

TEST_F(UpstreamTest, IsABadGatewayForASourceThatNeverGetsBeyondItsHeader) {
    const ScriptedServer source(continuing(0ms));
    EXPECT_EQ(answerFrom(m_server, source.url()).status, 502);
}

TEST_F(UpstreamTest, TakesAnAnswerAfterInterimOnes) {
    EXPECT_EQ(answerTo("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early\r\nContent-Length: x\r\n\r\n"
                       "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok")
                  .body,
              "ok");
}

TEST_F(UpstreamTest, IsAGatewayTimeoutForASourceThatIsSlow) {
    MediaServer server(shortLimits());
    const ScriptedServer silent([](const std::string&, TcpConnection& connection) {
        connection.readRest();
        return false;
    });
    EXPECT_EQ(answerFrom(server, silent.url()).status, 504);
    const ScriptedServer dripping(continuing(10ms));
    EXPECT_EQ(answerFrom(server, dripping.url()).status, 504);
}

TEST_F(UpstreamTest, PausesTheSourceWhileTheReaderPauses) {
    const std::string bytes = manyBytes(50'000'000);
    std::atomic<std::size_t> sent = 0;
    const ScriptedServer source([&](const std::string&, TcpConnection& connection) {
        connection.write("HTTP/1.1 200 OK\r\nContent-Length: 50000000\r\n\r\n");
        for (std::size_t i = 0; i < bytes.size(); i += 100'000) {
            if (!connection.write(bytes.substr(i, 100'000)))
                break;
            sent += 100'000;
        }
        return false;
    });
    const ServedMedium medium(m_server, {source.url(), ""});
    TcpConnection reader(medium.url(), 4096);
    reader.write(getRequest(medium.url()));
    reader.readHeader();
    std::size_t before = 0;
    do {
        before = sent;
        std::this_thread::sleep_for(200ms);
    } while (sent > before);
    EXPECT_LT(sent, 40'000'000U);
    EXPECT_TRUE(reader.read(bytes.size()) == bytes);
}

TEST_F(UpstreamTest, LetsGoOfTheSourceWhenTheReaderLeaves) {
    std::atomic<bool> ended = false;
    const ScriptedServer source([&ended](const std::string&, TcpConnection& connection) {
        connection.write("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
        connection.readRest();
        ended = true;
        return false;
    });
    const ServedMedium medium(m_server, {source.url(), ""});
    {
        TcpConnection reader(medium.url());
        reader.write(getRequest(medium.url()));
        reader.readHeader();
    }
    EXPECT_TRUE(eventually([&ended] { return ended.load(); }));
}

TEST_F(UpstreamTest, EndsWhateverTheSourceDoes) {
    const ScriptedServer silent([](const std::string&, TcpConnection& connection) {
        connection.readRest();
        return false;
    });
    const ScriptedServer dripping([](const std::string&, TcpConnection& connection) {
        connection.write("HTTP/1.1 200 OK\r\n\r\n");
        while (connection.write("x"))
            std::this_thread::sleep_for(1ms);
        return false;
    });
    const ScriptedServer continues(continuing(10ms));
    auto server = std::make_unique<MediaServer>();
    std::list<TcpConnection> readers;
    for (const auto* source : {&silent, &dripping, &continues}) {
        const ServedMedium medium(*server, {source->url(), ""});
        readers.emplace_back(medium.url()).write(getRequest(medium.url()));
    }
    const auto begin = std::chrono::steady_clock::now();
    server.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

class TlsTest : public ServedFilm {
protected:
    void SetUp() override {
        if (!m_source.runs())
            GTEST_SKIP() << "the program openssl is missing";
    }

    const TlsServer m_source{m_folder};
};

TEST_F(TlsTest, TrustsNoServerThatNobodyVouchesFor) {
    EXPECT_EQ(answerFrom(m_server, m_source.url()).status, 502);
}

TEST_F(TlsTest, PassesAnHttpsMediumOn) {
    setenv("SSL_CERT_FILE", m_source.certificate().c_str(), 1);
    const HttpAnswer answer = answerFrom(m_server, m_source.url());
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == m_bytes);
}

} // namespace
} // namespace velmora::desktop
