// How the server handles connections and requests in general, whatever the medium.
#include "desktop/log/captured_log.h"
#include "desktop/service/http/served_film.h"
#include "desktop/service/http/tcp_connection.h"
#include "support/http_client.h"
#include "support/processes.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <list>
#include <optional>
#include <regex>
#include <sstream>
#include <thread>

namespace velmora::desktop {
namespace {

using namespace std::chrono_literals;

class HttpServerTest : public ServedFilm {
protected:
    using ServedFilm::ServedFilm;

    TcpConnection connect(int receiveBuffer = 0) const { return TcpConnection(m_medium.url(), receiveBuffer); }

    std::string answerTo(const std::string& request) const {
        TcpConnection connection = connect();
        connection.write(request);
        return connection.readHeader();
    }

    std::string request(const std::string& lines = "", const std::string& version = "HTTP/1.1") const {
        return getRequest(m_medium.url(), lines, version);
    }
};

TEST_F(HttpServerTest, NamesTheMethodsThatItHas) {
    for (const char* method : {"POST", "PUT", "DELETE", "PATCH", "TRACE", "NONSENSE"}) {
        const HttpAnswer answer = ask(m_medium.url(), {.method = method});
        EXPECT_EQ(answer.status, 405) << method;
        EXPECT_EQ(answer.header("Allow"), "GET, HEAD, OPTIONS") << method;
        EXPECT_EQ(answer.header("Access-Control-Allow-Origin"), "*") << method;
    }
}

TEST_F(HttpServerTest, LetsPagesOfAnyOriginReadWhatItAnswers) {
    for (const std::string& url : {m_medium.url(), urlOf("/unknown")}) {
        const HttpAnswer answer = ask(url, {.headers = {"Origin: https://example.invalid"}});
        EXPECT_EQ(answer.header("Access-Control-Allow-Origin"), "*");
        EXPECT_EQ(answer.header("Access-Control-Expose-Headers"),
                  "Accept-Ranges, Content-Length, Content-Range, ETag, Last-Modified");
        EXPECT_EQ(answer.header("Cross-Origin-Resource-Policy"), "cross-origin");
        EXPECT_EQ(answer.header("Timing-Allow-Origin"), "*");
    }
}

TEST_F(HttpServerTest, LetsABrowserAskBeforehand) {
    const HttpAnswer answer =
        ask(m_medium.url(),
            {.method = "OPTIONS",
             .headers = {"Origin: https://example.invalid", "Access-Control-Request-Method: GET",
                         "Access-Control-Request-Headers: range", "Access-Control-Request-Private-Network: true"}});
    EXPECT_EQ(answer.status, 204);
    EXPECT_EQ(answer.body, "");
    EXPECT_EQ(answer.header("Allow"), "GET, HEAD, OPTIONS");
    EXPECT_EQ(answer.header("Access-Control-Allow-Methods"), "GET, HEAD, OPTIONS");
    EXPECT_NE(answer.header("Access-Control-Allow-Headers").find("Range, If-Range"), std::string::npos);
    EXPECT_EQ(answer.header("Access-Control-Allow-Private-Network"), "true");
    EXPECT_EQ(ask(urlOf("/unknown"), {.method = "OPTIONS"}).status, 404);
}

TEST_F(HttpServerTest, TellsWhatTheServerAsAWholeCan) {
    const std::string header = answerTo("OPTIONS * HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_TRUE(header.starts_with("HTTP/1.1 204")) << header;
    EXPECT_NE(header.find("Allow: GET, HEAD, OPTIONS\r\n"), std::string::npos);
}

TEST_F(HttpServerTest, AnswersOneRequestAfterTheOtherOnAConnection) {
    TcpConnection connection = connect();
    for (int i = 0; i < 3; ++i) {
        connection.write(request("Range: bytes=5-9\r\n"));
        EXPECT_TRUE(connection.readHeader().starts_with("HTTP/1.1 206"));
        EXPECT_EQ(connection.read(5), m_bytes.substr(5, 5));
    }
}

TEST_F(HttpServerTest, AnswersAllRequestsThatCameAtOnce) {
    TcpConnection connection = connect();
    connection.write(request() + "OPTIONS * HTTP/1.1\r\nHost: x\r\n\r\n" + request("Range: bytes=-3\r\n") +
                     request("If-None-Match: *\r\n") + request("Range: bytes=0-0\r\n"));
    EXPECT_TRUE(connection.readHeader().starts_with("HTTP/1.1 200"));
    EXPECT_TRUE(connection.read(m_bytes.size()) == m_bytes);
    EXPECT_TRUE(connection.readHeader().starts_with("HTTP/1.1 204"));
    EXPECT_TRUE(connection.readHeader().starts_with("HTTP/1.1 206"));
    EXPECT_EQ(connection.read(3), m_bytes.substr(m_bytes.size() - 3));
    EXPECT_TRUE(connection.readHeader().starts_with("HTTP/1.1 304"));
    EXPECT_TRUE(connection.readHeader().starts_with("HTTP/1.1 206"));
    EXPECT_EQ(connection.read(1), m_bytes.substr(0, 1));
}

TEST_F(HttpServerTest, ClosesTheConnectionWhenItIsAskedTo) {
    TcpConnection connection = connect();
    connection.write(request("Connection: close\r\n"));
    EXPECT_NE(connection.readHeader().find("Connection: close\r\n"), std::string::npos);
    EXPECT_TRUE(connection.readRest() == m_bytes);
}

TEST_F(HttpServerTest, SpeaksTheVersionBefore) {
    TcpConnection connection = connect();
    connection.write("GET " + m_medium.url().substr(m_medium.url().rfind('/')) +
                     " HTTP/1.0\r\nRange: bytes=10-\r\n\r\n");
    EXPECT_NE(connection.readHeader().find(" 206 "), std::string::npos);
    EXPECT_TRUE(connection.readRest() == m_bytes.substr(10));
}

TEST_F(HttpServerTest, KeepsAConnectionOfTheVersionBeforeWhenItIsAskedTo) {
    TcpConnection connection = connect();
    for (int i = 0; i < 2; ++i) {
        connection.write(request("Connection: keep-alive\r\nRange: bytes=0-3\r\n", "HTTP/1.0"));
        EXPECT_NE(connection.readHeader().find(" 206 "), std::string::npos);
        EXPECT_EQ(connection.read(4), m_bytes.substr(0, 4));
    }
}

TEST_F(HttpServerTest, UnderstandsAWholeUrlAsTarget) {
    EXPECT_TRUE(answerTo("GET " + m_medium.url() + " HTTP/1.1\r\nHost: x\r\n\r\n").starts_with("HTTP/1.1 200"));
    EXPECT_TRUE(answerTo("GET http://127.0.0.1 HTTP/1.1\r\nHost: x\r\n\r\n").starts_with("HTTP/1.1 404"));
}

TEST_F(HttpServerTest, IgnoresAQuery) {
    EXPECT_EQ(fetch(m_medium.url() + "?t=5&x").status, 200);
}

TEST_F(HttpServerTest, WantsToBeNamed) {
    const std::string line = "GET " + m_medium.url().substr(m_medium.url().rfind('/')) + " HTTP/1.1\r\n";
    EXPECT_TRUE(answerTo(line + "\r\n").starts_with("HTTP/1.1 400"));
    EXPECT_TRUE(answerTo(line + "Host: a\r\nHost: b\r\n\r\n").starts_with("HTTP/1.1 400"));
}

TEST_F(HttpServerTest, TakesNoBody) {
    for (const std::string& body : {std::string("Content-Length: 4\r\n\r\nbody"),
                                    std::string("Transfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n0\r\n\r\n"),
                                    std::string("Expect: 100-continue\r\nContent-Length: 4\r\n\r\n")}) {
        std::string asked = request();
        asked.resize(asked.size() - 2);
        TcpConnection connection = connect();
        connection.write(asked + body);
        EXPECT_TRUE(connection.readHeader().starts_with("HTTP/1.1 413")) << body;
        EXPECT_EQ(connection.readRest(), "");
    }
    EXPECT_TRUE(answerTo(request("Content-Length: 0\r\n")).starts_with("HTTP/1.1 200"));
}

TEST_F(HttpServerTest, TakesNoMoreHeaderFieldsThanAnyBrowserSends) {
    std::string few;
    for (int i = 0; i < 50; ++i)
        few += "X-" + std::to_string(i) + ": x\r\n";
    EXPECT_TRUE(answerTo(request(few)).starts_with("HTTP/1.1 200"));
    EXPECT_TRUE(answerTo(request(few + few)).starts_with("HTTP/1.1 431"));
    EXPECT_TRUE(answerTo(request("X: " + std::string(8000, 'x') + "\r\n")).starts_with("HTTP/1.1 200"));
    EXPECT_TRUE(answerTo(request("X: " + std::string(20'000, 'x') + "\r\n")).starts_with("HTTP/1.1 431"));
    EXPECT_TRUE(answerTo(request("X: " + std::string(100'000, 'x') + "\r\n")).starts_with("HTTP/1.1 431"));
    EXPECT_TRUE(
        answerTo("GET /" + std::string(100'000, 'x') + " HTTP/1.1\r\nHost: x\r\n\r\n").starts_with("HTTP/1.1 414"));
}

TEST_F(HttpServerTest, OutlivesWhatIsNoRequest) {
    for (const std::string& nonsense :
         {std::string("\r\n\r\n\r\n"), std::string("GET\r\n\r\n"), std::string("\0\xff\x16\x03\x01", 5),
          std::string("GET / HTTP/9.9\r\nHost: x\r\n\r\n"), std::string("GET / HTTP/1.1\r\n: x\r\n\r\n"),
          std::string(70'000, '\n')}) {
        TcpConnection connection = connect();
        connection.write(nonsense);
        connection.write(request());
    }
    EXPECT_EQ(fetch(m_medium.url()).status, 200);
}

/// What the server logs while it exists.
class HttpLogTest : public testing::Test {
protected:
    std::string endServer() {
        m_server.reset();
        return m_log.text();
    }

    CapturedLog m_log;
    TemporaryFolder m_folder;
    const std::string m_film = addFile(m_folder, "film.webm", manyBytes());
    std::optional<MediaServer> m_server{std::in_place};
};

TEST_F(HttpLogTest, HasALineForEachResponseThatHasEnded) {
    fetch(ServedMedium(*m_server, {"", m_film}).url(), "bytes=0-9");
    EXPECT_EQ(endServer(), "debug http method=\"GET\" medium=\"" + m_film +
                               "\" range=\"bytes=0-9\" status=206 bytes=10 complete=yes\n");
}

TEST_F(HttpLogTest, TellsOfAReaderThatLeft) {
    std::filesystem::resize_file(m_film, 1U << 30);
    {
        const ServedMedium medium(*m_server, {"", m_film});
        TcpConnection reader(medium.url(), 4096);
        reader.write(getRequest(medium.url()));
        reader.readHeader();
    }
    const std::string lines = endServer();
    EXPECT_TRUE(std::regex_search(lines, std::regex(" status=200 bytes=[0-9]+ complete=no\n$"))) << lines;
}

TEST_F(HttpLogTest, EscapesForeignText) {
    const std::string url = ServedMedium(*m_server, {"", m_film}).url();
    TcpConnection connection(url);
    connection.write("GET /%1b%5b1m%0a HTTP/1.1\r\nHost: x\r\nRange: \x1b[1m\r\n\r\n");
    connection.readHeader();
    EXPECT_EQ(endServer(), "debug http method=\"GET\" medium=\"/\\x1b[1m\\n\" range=\"\\x1b[1m\" status=404 bytes=0 "
                           "complete=yes\n");
}

class ImpatientServerTest : public HttpServerTest {
protected:
    ImpatientServerTest() : HttpServerTest(shortLimits()) {}
};

TEST_F(ImpatientServerTest, ClosesAConnectionWithoutACompleteRequest) {
    EXPECT_TRUE(connect().isClosedWithin(10s));
    TcpConnection half = connect();
    half.write("GET / HTTP/1.1\r\nHost:");
    EXPECT_TRUE(half.isClosedWithin(10s));
}

TEST_F(ImpatientServerTest, ClosesAConnectionWhoseRequestDrips) {
    const TcpConnection dripping = connect();
    const auto begin = std::chrono::steady_clock::now();
    dripping.write("GET / HTTP/1.1\r\nX: ");
    while (dripping.write("x") && std::chrono::steady_clock::now() - begin < 10s)
        std::this_thread::sleep_for(10ms);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
}

TEST_F(ImpatientServerTest, ClosesAConnectionThatIsIdleAfterARequest) {
    TcpConnection connection = connect();
    connection.write(request());
    connection.readHeader();
    connection.read(m_bytes.size());
    EXPECT_TRUE(connection.isClosedWithin(10s));
}

TEST_F(ImpatientServerTest, WaitsForAReaderThatPauses) {
    const std::string bytes = manyBytes(20'000'000);
    const ServedMedium medium(m_server, {"", addFile(m_folder, "long.webm", bytes)});
    TcpConnection reader(medium.url(), 4096);
    reader.write(getRequest(medium.url()));
    reader.readHeader();
    const std::string begin = reader.read(1000);
    std::this_thread::sleep_for(1s); // several times every limit
    EXPECT_TRUE(begin + reader.read(bytes.size() - 1000) == bytes);
}

TEST_F(HttpServerTest, WaitsForAReaderThatPausesForSixSeconds) {
    const std::string bytes = manyBytes(20'000'000);
    const ServedMedium medium(m_server, {"", addFile(m_folder, "long.webm", bytes)});
    TcpConnection reader(medium.url(), 4096);
    reader.write(getRequest(medium.url()));
    reader.readHeader();
    std::this_thread::sleep_for(6s);
    EXPECT_TRUE(reader.read(bytes.size()) == bytes);
}

TEST_F(HttpServerTest, ServesBesideConnectionsThatSendTheirRequestsSlowly) {
    std::list<TcpConnection> slow;
    for (int i = 0; i < 48; ++i)
        slow.emplace_back(m_medium.url()).write("GET / HTTP/1.1\r\nX: x");
    EXPECT_TRUE(fetch(m_medium.url()).body == m_bytes);
}

TEST_F(HttpServerTest, ServesBesideAThousandReadersThatPause) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    if (files.rlim_max < 4000)
        GTEST_SKIP() << "needs 4000 open files";
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    MediaServer server; // its limit of connections depends on the limit of files
    const ServedMedium big(server, {"", addFile(m_folder, "big.webm", manyBytes(2'000'000))});
    const ServedMedium next(server, {"", m_film});
    const std::size_t before = threadCount();
    std::list<TcpConnection> paused;
    for (int i = 0; i < 1000; ++i)
        paused.emplace_back(big.url(), 4096).write(getRequest(big.url()));
    for (TcpConnection& reader : paused)
        ASSERT_TRUE(reader.readHeader().starts_with("HTTP/1.1 200"));
    EXPECT_EQ(threadCount(), before);
    EXPECT_TRUE(fetch(next.url()).body == m_bytes);
    EXPECT_TRUE(paused.back().read(2'000'000) == manyBytes(2'000'000));
}

TEST_F(HttpServerTest, LetsFurtherConnectionsWaitForAnEnd) {
    ServingLimits limits = shortLimits();
    limits.connections = 2;
    MediaServer server(limits);
    const ServedMedium medium(server, {"", m_film});
    const TcpConnection first(medium.url());
    const TcpConnection second(medium.url());
    EXPECT_EQ(fetch(medium.url()).status, 200); // as soon as they are closed because no request came
}

TEST(HttpServer, EndsWhileReadersPauseAndConnectionsAreIdle) {
    const TemporaryFolder folder;
    auto server = std::make_unique<MediaServer>();
    auto medium =
        std::make_unique<ServedMedium>(*server, MediaLocation{"", addFile(folder, "f", manyBytes(9'000'000))});
    const TcpConnection idle(medium->url());
    TcpConnection paused(medium->url(), 4096);
    paused.write(getRequest(medium->url()));
    paused.readHeader();
    medium.reset();
    const auto begin = std::chrono::steady_clock::now();
    server.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

} // namespace
} // namespace velmora::desktop
