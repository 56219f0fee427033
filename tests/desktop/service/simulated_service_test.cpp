// The service with simulated media: a real process on a real bus.
#include "desktop/service/http/scripted_server.h"
#include "desktop/service/http/silent_server.h"
#include "desktop/service/http/tcp_connection.h"
#include "desktop/service/service_client.h"
#include "desktop/service/service_process.h"
#include "launcher/private_bus.h"
#include "support/http_client.h"
#include "support/test_files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <list>
#include <thread>

namespace velmora::desktop {
namespace {

constexpr const char* kMain = "main_video";

class SimulatedServiceTest : public testing::Test {
protected:
    SimulatedServiceTest() { setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1); }
    ~SimulatedServiceTest() override { unsetenv("ZUV_SERVICE_ENGINE"); }

    /// Has a service, and an object in it.
    void begin(const CommandLine& options) {
        m_service.emplace(options);
        m_client.emplace();
        m_client->awaitService();
        m_object = m_client->createObject();
    }

    const TemporaryFolder m_folder;
    const std::string m_medium = addFile(m_folder, "film.txt", "no film at all");
    const PrivateBus m_bus{ZUV_PROGRAMS_DIR};
    std::optional<OwnService> m_service;
    std::optional<ServiceClient> m_client;
    std::string m_object;
};

TEST_F(SimulatedServiceTest, PlaysAndServesWhateverExists) {
    begin({"--engine", "simulated"});
    const ReceivedEvent started = m_client->request("start", m_object, kMain, m_medium);
    EXPECT_EQ(started.code(), "200") << started.detail();
    EXPECT_EQ(fetch(started.localUrl()).body, "no film at all");
    EXPECT_EQ(m_client->next("definition").definitions(),
              R"([{"definition":"240p","url":")" + started.localUrl() + R"("}])");
}

TEST_F(SimulatedServiceTest, PlaysAnHttpMediumWithoutAskingForIt) {
    begin({"--engine", "simulated"});
    EXPECT_EQ(m_client->request("start", m_object, kMain, "http://127.0.0.1:1/film.webm").code(), "200");
}

TEST_F(SimulatedServiceTest, LastsAnHour) {
    begin({"--engine", "simulated"});
    m_client->request("start", m_object, kMain, m_medium);
    EXPECT_EQ(m_client->request("seek", m_object, "", "", "3600.000000").code(), "200");
    EXPECT_EQ(m_client->request("seek", m_object, "", "", "3600.000001").code(), "400");
}

TEST_F(SimulatedServiceTest, DoesNotPlayWhatIsNotThere) {
    begin({"--engine", "simulated"});
    EXPECT_EQ(m_client->request("start", m_object, kMain, "/no/such/film.webm").code(), "404");
}

TEST_F(SimulatedServiceTest, IsChosenByTheEnvironmentToo) {
    setenv("ZUV_SERVICE_ENGINE", "simulated", 1);
    begin({});
    EXPECT_EQ(m_client->request("start", m_object, kMain, m_medium).code(), "200");
}

TEST_F(SimulatedServiceTest, EndsAtOnceWhateverReadersAndForeignServersDo) {
    const ScriptedServer dripping([](const std::string& header, TcpConnection& connection) {
        connection.write(header.find("/continue") == std::string::npos ? "HTTP/1.1 200 OK\r\n\r\n" : "");
        while (connection.write(header.find("/continue") == std::string::npos ? "x" : "HTTP/1.1 100 Continue\r\n\r\n"))
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return false;
    });
    const SilentServer silent;
    const std::string big = addFile(m_folder, "big.webm");
    std::filesystem::resize_file(big, 1U << 30);
    begin({"--engine", "simulated"});
    std::list<TcpConnection> readers;
    for (const std::string& url : {dripping.url("/drip"), dripping.url("/continue"), silent.url(), big}) {
        const std::string local = m_client->request("start", m_client->createObject(), kMain, url).localUrl();
        readers.emplace_back(local, 4096).write(getRequest(local));
    }
    readers.front().readHeader();
    readers.back().readHeader();
    m_service->signal(SIGTERM);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(m_service->exitStatus(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(SimulatedServiceTest, ServesMoreReadersThanTheShellsLimitOfOpenFilesAllows) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    const rlimit lowered{std::min<rlim_t>(files.rlim_cur, 200), files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &lowered); // inherited by the service
    const std::string big = addFile(m_folder, "big.webm");
    std::filesystem::resize_file(big, 1U << 30);
    begin({"--engine", "simulated"});
    setrlimit(RLIMIT_NOFILE, &files);
    const std::string url = m_client->request("start", m_object, kMain, big).localUrl();
    std::list<TcpConnection> readers;
    for (int i = 0; i < 200; ++i)
        readers.emplace_back(url, 4096).write(getRequest(url));
    for (TcpConnection& reader : readers)
        ASSERT_TRUE(reader.readHeader().starts_with("HTTP/1.1 200"));
}

TEST(ServiceEngine, IsOneThatThereIs) {
    const Output output = runProgram("zuv-service", "--engine other");
    EXPECT_NE(output.status, 0);
    EXPECT_NE(output.text.find(R"("other" is not gstreamer or simulated)"), std::string::npos) << output.text;
}

} // namespace
} // namespace velmora::desktop
