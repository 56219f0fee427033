#include "desktop/service/http/scripted_server.h"
#include "desktop/service/http/silent_server.h"
#include "desktop/service/http/tls_server.h"
#include "service/media/address_look.h"
#include "service/protocol/result_code.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <future>

namespace velmora::desktop {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kTimeout = 20'000ms;

/// @return the failure of a look; its code is Ok when it did not fail.
CommandFailure failureToSee(const std::string& url, std::chrono::milliseconds timeout = kTimeout,
                            const std::stop_token& stop = {}) {
    try {
        lookAtAddress(url, timeout, stop);
    } catch (const CommandFailure& failure) {
        return failure;
    }
    return {ResultCode::Ok, ""};
}

ResultCode codeFor(const std::string& answer) {
    const ScriptedServer server(always(answer));
    return failureToSee(server.url()).code();
}

bool mentions(const CommandFailure& failure, const std::string& text) {
    return std::string(failure.what()).find(text) != std::string::npos;
}

TEST(AddressLook, SendsOneRequestWhateverTheSizeOfTheMedium) {
    ScriptedServer server(serving(std::string(10'000'000, 'x')));
    EXPECT_EQ(failureToSee(server.url()).code(), ResultCode::Ok);
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_TRUE(server.requests().front().starts_with("GET /film.webm HTTP/1.1\r\n"));
}

TEST(AddressLook, DoesNotWaitForMoreThanTheBeginning) {
    const ScriptedServer server([](const std::string&, TcpConnection& connection) {
        return connection.write("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nx"); // and no more
    });
    EXPECT_EQ(failureToSee(server.url()).code(), ResultCode::Ok);
}

TEST(AddressLook, IsContentWithAnEmptyMedium) {
    EXPECT_EQ(codeFor("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"), ResultCode::Ok);
}

TEST(AddressLook, FollowsARedirect) {
    const ScriptedServer target(serving("film"));
    EXPECT_EQ(codeFor("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: " + target.url() + "\r\n\r\n"),
              ResultCode::Ok);
}

TEST(AddressLook, ReadsAPlaylistWithTheSameRequest) {
    const std::string text = "#EXTM3U\n" + std::string(100'000, '#');
    ScriptedServer target(serving(text));
    const ScriptedServer redirecting(
        always("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: " + target.url("/x/list.m3u8?a") + "\r\n\r\n"));
    const MediaAddress address = lookAtAddress(redirecting.url(), kTimeout, {});
    EXPECT_EQ(address.url, target.url("/x/list.m3u8?a"));
    EXPECT_EQ(address.playlist, text);
    EXPECT_EQ(target.requests().size(), 1U);
}

TEST(AddressLook, LeavesWhatIsNoPlaylistOrTooLargeAlone) {
    const ScriptedServer film(serving("a film"));
    EXPECT_EQ(lookAtAddress(film.url(), kTimeout, {}).playlist, "");
    const ScriptedServer large(serving("#EXTM3U\n" + std::string(5'000'000, '#')));
    EXPECT_EQ(lookAtAddress(large.url(), kTimeout, {}).playlist, "");
}

TEST(AddressLook, FindsNothingWhereAPlaylistIsCutShort) {
    EXPECT_EQ(codeFor("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n#EXTM3U\n"), ResultCode::NotFound);
}

TEST(AddressLook, FindsNothingWhereTheConnectionIsRefused) {
    const CommandFailure failure = failureToSee("http://127.0.0.1:1/film.webm");
    EXPECT_EQ(failure.code(), ResultCode::NotFound);
    EXPECT_TRUE(mentions(failure, "Connection refused")) << failure.what();
    EXPECT_TRUE(mentions(failure, "http://127.0.0.1:1/film.webm")) << failure.what();
}

TEST(AddressLook, FindsNothingWhereTheServerRefuses) {
    for (const char* status : {"401", "403", "404", "407", "410", "500", "503", "304"}) {
        const ScriptedServer server(always(std::string("HTTP/1.1 ") + status + " No\r\nContent-Length: 4\r\n\r\nfilm"));
        const CommandFailure failure = failureToSee(server.url());
        EXPECT_EQ(failure.code(), ResultCode::NotFound) << status;
        EXPECT_TRUE(mentions(failure, std::string("status ") + status)) << failure.what();
    }
}

TEST(AddressLook, FindsNothingWhereNoHttpIsSpoken) {
    EXPECT_EQ(codeFor("220 mail.example.invalid\r\n"), ResultCode::NotFound);
    EXPECT_EQ(codeFor(""), ResultCode::NotFound);
}

TEST(AddressLook, FindsNothingWhereNobodyVouchesForTheServer) {
    const TemporaryFolder folder;
    addFile(folder, "film.webm", "film");
    const TlsServer server(folder);
    if (!server.runs())
        GTEST_SKIP() << "the program openssl is missing";
    const CommandFailure failure = failureToSee(server.url());
    EXPECT_EQ(failure.code(), ResultCode::NotFound);
    EXPECT_TRUE(mentions(failure, "certificate")) << failure.what();
    setenv("SSL_CERT_FILE", server.certificate().c_str(), 1);
    EXPECT_EQ(failureToSee(server.url()).code(), ResultCode::Ok);
}

TEST(AddressLook, FindsNothingAtTheEndOfARedirectToAFile) {
    EXPECT_EQ(codeFor("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: file:///etc/passwd\r\n\r\n"),
              ResultCode::NotFound);
}

TEST(AddressLook, GivesUpOnAServerThatDoesNotAnswer) {
    const SilentServer server;
    const CommandFailure failure = failureToSee(server.url(), 100ms);
    EXPECT_EQ(failure.code(), ResultCode::Unplayable);
    EXPECT_STREQ(failure.what(), "Not ready within 100 ms");
}

TEST(AddressLook, EndsWithAStopRequest) {
    const SilentServer server;
    std::stop_source stop;
    const auto begun = Clock::now();
    auto failure =
        std::async(std::launch::async, [&] { return failureToSee(server.url(), kTimeout, stop.get_token()); });
    server.awaitClient();
    stop.request_stop();
    EXPECT_EQ(failure.get().code(), ResultCode::Internal);
    EXPECT_LT(Clock::now() - begun, kTimeout / 2);
}

} // namespace
} // namespace velmora::desktop
