// sample-player: starts a medium and prints the local URL under which its bytes can be fetched. In asynchronous
// mode: commands return at once, and what became of them arrives by callback.
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

// A medium that cannot be played brings no callback at all, only a line in the log.
constexpr std::chrono::seconds kPatience{5};

struct News {
    std::string proxyId;
    std::string changed;
    std::string value;
};

/// The way out of a callback, which runs on a thread of the bus and with its proxy's lock held: it leaves its
/// news here and returns. The player's own thread takes it, and may call everything then.
class Mailbox {
public:
    void put(News news) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_news.push_back(std::move(news));
        m_arrived.notify_one();
    }

    /// The oldest news, waited for until `deadline`.
    std::optional<News> take(Clock::time_point deadline) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_arrived.wait_until(lock, deadline, [this] { return !m_news.empty(); }))
            return std::nullopt;
        News news = std::move(m_news.front());
        m_news.pop_front();
        return news;
    }

private:
    std::mutex m_mutex; // guards m_news
    std::condition_variable m_arrived;
    std::deque<News> m_news;
};

/// Never destroyed: a callback may come until the process has ended.
Mailbox& mailbox() {
    static auto* const instance = new Mailbox;
    return *instance;
}

void onMainVideoNews(std::string proxyId, std::string changed, std::string value) {
    mailbox().put({std::move(proxyId), std::move(changed), std::move(value)});
}

std::optional<std::string> awaitLocalUrl(const std::string& proxyId) {
    const auto deadline = Clock::now() + kPatience;
    while (const auto news = mailbox().take(deadline)) {
        if (news->proxyId == proxyId && news->changed == "url")
            return news->value;
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
    // The service is another process with another working folder.
    const std::string medium = std::filesystem::absolute(argv[1]).string();

    auto* const manager = requestZUVMediaProxy();
    manager->setZUVCallback(onMainVideoNews);
    const auto proxy = manager->createNewZUVMediaProxy();
    if (!proxy || proxy->id().empty())
        return fail("the media service does not answer; is there a bus?");

    proxy->start(medium, 1);
    const auto url = awaitLocalUrl(proxy->id());
    if (!url)
        return fail("the medium was not started; the log says why");
    std::puts(url->c_str());
    // Here a player fetches the URL and shows what it gets.
    proxy->stop();
    return 0;
}
