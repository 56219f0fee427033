// A browser as a reader of local URLs: a page of another origin, in Chromium, plays the media of a real service.
#include "desktop/service/browser/browser.h"
#include "desktop/service/service_client.h"
#include "desktop/service/service_process.h"
#include "launcher/private_bus.h"
#include "service/http/media_server.h"
#include "support/http_client.h"
#include "support/processes.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace velmora::desktop {
namespace {

constexpr const char* kMain = "main_video";

/// Started once for all tests: the start takes longer than any of them.
Browser& browser() {
    static Browser only;
    return only;
}

/// A page of another origin, and a service with an object.
class BrowserTest : public testing::Test {
protected:
    void SetUp() override {
        if (!isInstalled("chromium"))
            GTEST_SKIP() << "the program chromium is missing";
        setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1);
        m_service.emplace();
        m_client.emplace();
        m_client->awaitService();
        m_object = m_client->createObject();
    }

    /// The answer to a command for the main video.
    ReceivedEvent answerTo(const std::string& command, const std::string& medium, const std::string& position = "") {
        return m_client->request(command, m_object, kMain, medium, position);
    }

    const PrivateBus m_bus{ZUV_PROGRAMS_DIR};
    std::optional<OwnService> m_service;
    std::optional<ServiceClient> m_client;
    std::string m_object;
};

enum class Way { File, Http };

/// Media from a file, and the same ones from an upstream server.
class BrowserOfAMediumTest : public BrowserTest, public testing::WithParamInterface<Way> {
protected:
    /// @return its local URL.
    std::string start(const std::string& name) {
        m_elsewhere.emplace(m_source, MediaLocation{"", clip(name)});
        return answerTo("start", GetParam() == Way::File ? clip(name).string() : m_elsewhere->url()).localUrl();
    }

    MediaServer m_source;
    std::optional<ServedMedium> m_elsewhere;
};

TEST_P(BrowserOfAMediumTest, PlaysAndSeeks) {
    const std::string url = start("long.webm");
    EXPECT_EQ(browser().run("return await play('" + url + "')"), "320x240");
    EXPECT_EQ(browser().run("return await seek(50)"), "server");
    EXPECT_EQ(browser().run("return isBuffered(45)"), "false") << "it read up to the position";
    EXPECT_EQ(browser().run("return await seek(1)"), "buffer");
}

TEST_P(BrowserOfAMediumTest, ReadsThePixels) {
    const std::string url = start("clip.webm");
    EXPECT_EQ(browser().run("return await play('" + url + "', { crossOrigin: 'anonymous' })"), "320x240");
    // Of colour bars: the second is yellow, the last one blue.
    EXPECT_EQ(browser().run("return coloursAt([68, 50], [297, 50])"), "110,001");
}

TEST_P(BrowserOfAMediumTest, ReadsPixelsOnlyWhereItAsksForThem) {
    const std::string url = start("clip.webm");
    EXPECT_EQ(browser().run("return await play('" + url + "')"), "320x240");
    EXPECT_TRUE(browser().run("return coloursAt([68, 50])").starts_with("SecurityError"));
}

/// What page.html's fetched() makes of a response.
std::string described(const HttpAnswer& answer) {
    std::string text = std::to_string(answer.status);
    for (const char* name : {"Accept-Ranges", "Content-Length", "Content-Range", "ETag", "Last-Modified"})
        text += "\n" + answer.header(name);
    text += "\n";
    for (const char byte : answer.body)
        text += (text.ends_with('\n') ? "" : ",") + std::to_string(static_cast<unsigned char>(byte));
    return text;
}

TEST_P(BrowserOfAMediumTest, FetchesARangeAndReadsTheHeaders) {
    const std::string url = start("clip.webm");
    const HttpAnswer expected = fetch(url, "bytes=100-119");
    EXPECT_EQ(expected.status, 206);
    EXPECT_EQ(expected.body, fileBytes(clip("clip.webm")).substr(100, 20));
    EXPECT_NE(expected.header("ETag"), "");
    EXPECT_EQ(browser().run("return await fetched('" + url + "', { Range: 'bytes=100-119' })"), described(expected));
}

// A browser asks before it sends such fields to another origin.
TEST_P(BrowserOfAMediumTest, FetchesOnCondition) {
    const std::string url = start("clip.webm");
    const HttpAnswer part = fetch(url, "bytes=0-9");
    const std::string tag = "'" + part.header("ETag") + "'";
    EXPECT_EQ(browser().run("return await fetched('" + url + "', { Range: 'bytes=0-9', 'If-Range': " + tag + " })"),
              described(part));
    EXPECT_EQ(browser().run("return (await fetch('" + url + "', { headers: { 'If-None-Match': " + tag + " }})).status"),
              "304");
}

INSTANTIATE_TEST_SUITE_P(Media, BrowserOfAMediumTest, testing::Values(Way::File, Way::Http),
                         [](const auto& tested) { return tested.param == Way::File ? "OfAFile" : "OfAnHttpMedium"; });

class BrowserOfAReplacedMediumTest : public BrowserTest, public testing::WithParamInterface<const char*> {};

TEST_P(BrowserOfAReplacedMediumTest, PlaysOnUntilTheNextCommandAndThenFailsCleanly) {
    const std::string url = answerTo("start", clip("long.webm")).localUrl();
    EXPECT_EQ(browser().run("return await play('" + url + "')"), "320x240");

    EXPECT_EQ(answerTo(GetParam(), clip("clip.webm"), "0.000000").code(), "200");
    EXPECT_EQ(browser().run("return await seek(50)"), "server");

    EXPECT_EQ(answerTo("seek", "", "1.000000").code(), "200");
    EXPECT_TRUE(browser().run("return await seek(42)").starts_with("MediaError 2: "));
    EXPECT_EQ(browser().run("return (await fetch('" + url + "')).status"), "404");
    // With a query, because the browser still has a part of what it got from the URL itself.
    EXPECT_TRUE(browser().run("return await play('" + url + "?again')").starts_with("MediaError 4: "));
}

INSTANTIATE_TEST_SUITE_P(Commands, BrowserOfAReplacedMediumTest, testing::Values("start", "preload"),
                         [](const auto& tested) { return std::string(tested.param); });

} // namespace
} // namespace velmora::desktop
