// Several processes with a session each, and several sessions in a process, on one bus and one service.
#include "engine/system_test.h"

#include <fcntl.h>
#include <sys/file.h>

#include <memory>
#include <set>

using namespace velmora;
using namespace velmora::engine_test;

namespace {

class SeveralProcesses : public SystemTest {
protected:
    static constexpr int kProcesses = 6;

    SeveralProcesses() {
        setenv("ZUV_LOG_LEVEL", "off", 1); // lines of a log are no outcomes
        m_startable.nextPlays(kProperService);
    }

    /// Has as many processes start a title each, at the same moment. @return their local URLs, in the order of media.
    std::vector<std::string> startTogether() {
        const std::string gate = addFile(m_folder, "gate");
        const desktop::FileDescriptor lock(open(gate.c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(flock(lock.get(), LOCK_EX), 0);
        for (int i = 0; i < kProcesses; ++i)
            m_processes.push_back(std::make_unique<Launched>(
                std::vector<std::string>{ZUV_KIT_APPLICATION, gate, medium(std::to_string(i))}));
        for (const auto& process : m_processes)
            EXPECT_EQ(process->readLine(), "ready");
        EXPECT_EQ(flock(lock.get(), LOCK_UN), 0);
        std::vector<std::string> urls;
        for (const auto& process : m_processes)
            urls.push_back(process->readLine());
        return urls;
    }

    std::vector<std::unique_ptr<Launched>> m_processes;
};

/// With one object for two, the title that was started last would be the only one.
TEST_F(SeveralProcesses, ThatStartTogetherPlayATitleEach) {
    const std::vector<std::string> urls = startTogether();

    for (int i = 0; i < kProcesses; ++i)
        EXPECT_EQ(fetch(urls.at(static_cast<std::size_t>(i))).body, std::to_string(i)) << i;
}

TEST_F(SeveralProcesses, TakeOnlyTheirOwnTitleWithThem) {
    const std::vector<std::string> urls = startTogether();

    m_processes.front().reset();

    EXPECT_TRUE(eventually([&] { return fetch(urls.front()).status == 404; })) << "the service frees its objects";
    for (int i = 1; i < kProcesses; ++i)
        EXPECT_EQ(fetch(urls.at(static_cast<std::size_t>(i))).body, std::to_string(i)) << i;
}

class SeveralSessions : public SystemTest {};

TEST_F(SeveralSessions, OfAProcessPlayATitleEach) {
    constexpr int kSessions = 6;
    m_startable.nextPlays(kProperService);
    std::vector<std::unique_ptr<MediaSession>> sessions;
    for (int i = 0; i < kSessions; ++i) {
        const std::string name = std::to_string(i);
        sessions.push_back(std::make_unique<MediaSession>(m_host.post(), m_host.observer(), m_options));
        sessions.back()->start(medium(name), {}, m_host.started(name));
    }

    for (int i = 0; i < kSessions; ++i)
        expectPlays(std::to_string(i));

    const std::string url = m_host.await("0: ").substr(3);
    sessions.front().reset();
    EXPECT_TRUE(eventually([&] { return fetch(url).status == 404; })) << "the end of a session ends its titles";
    expectPlays("1");
}

} // namespace
