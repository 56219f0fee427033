// The service with simulated media: a real process on a real bus.
#include "desktop/service/service_client.h"
#include "desktop/service/service_process.h"
#include "launcher/private_bus.h"
#include "support/http_client.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <cstdlib>

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

TEST(ServiceEngine, IsOneThatThereIs) {
    const Output output = runProgram("zuv-service", "--engine other");
    EXPECT_NE(output.status, 0);
    EXPECT_NE(output.text.find(R"("other" is not gstreamer or simulated)"), std::string::npos) << output.text;
}

} // namespace
} // namespace velmora::desktop
