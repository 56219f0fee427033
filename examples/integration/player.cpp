// sample-player: starts a medium and prints the local URL under which its bytes can be fetched. It uses asynchronous
// mode: commands return at once, and callbacks report their results.
#include <zuv_media_proxy.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

// If a medium cannot be played there is no callback, only a line in the log.
constexpr std::chrono::seconds kPatience{5};

struct Notification {
    std::string proxyId;
    std::string changed;
    std::string value;
};

/// Hands notifications from the callbacks to the player's thread. A callback runs on a thread of the bus and with its
/// proxy's lock held, so it only puts its notification here and returns. The player's thread may call everything.
class NotificationQueue {
public:
    void put(Notification notification) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_notifications.push_back(std::move(notification));
        m_arrived.notify_one();
    }

    /// Takes the oldest notification; waits for one until `deadline`.
    std::optional<Notification> take(Clock::time_point deadline) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_arrived.wait_until(lock, deadline, [this] { return !m_notifications.empty(); }))
            return std::nullopt;
        Notification notification = std::move(m_notifications.front());
        m_notifications.pop_front();
        return notification;
    }

private:
    std::mutex m_mutex; // guards m_notifications
    std::condition_variable m_arrived;
    std::deque<Notification> m_notifications;
};

/// Never destroyed, because callbacks may run until the process has ended.
NotificationQueue& notifications() {
    static auto* const instance = new NotificationQueue;
    return *instance;
}

void onMainVideoChanged(std::string proxyId, std::string changed, std::string value) {
    notifications().put({std::move(proxyId), std::move(changed), std::move(value)});
}

std::optional<std::string> awaitLocalUrl(const std::string& proxyId) {
    const auto deadline = Clock::now() + kPatience;
    while (const auto notification = notifications().take(deadline)) {
        if (notification->proxyId == proxyId && notification->changed == "url")
            return notification->value;
    }
    return std::nullopt;
}

int fail(const char* reason) {
    std::fprintf(stderr, "sample-player: %s\n", reason);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return fail("usage: sample-player FILE");
    // The service is another process with its own working directory.
    const std::string medium = std::filesystem::absolute(argv[1]).string();

    auto* const manager = requestZUVMediaProxy();
    manager->setZUVCallback(onMainVideoChanged);
    const auto proxy = manager->createNewZUVMediaProxy();
    if (!proxy || proxy->id().empty())
        return fail("the media service does not answer; is there a bus?");

    proxy->start(medium, 1);
    const auto url = awaitLocalUrl(proxy->id());
    if (!url)
        return fail("the medium was not started; the log says why");
    std::puts(url->c_str());
    // A real player now fetches the URL and shows the video.
    proxy->stop();
    return 0;
}
