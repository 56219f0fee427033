#include "host_loop.h"
#include "session_core.h"
#include "worker.h"
#include "zuv_media_session.h"

#include <atomic>
#include <utility>

namespace velmora {

namespace {

using engine::Medium;
using engine::Opening;
using engine::Result;
using engine::SessionCore;
using engine::Ticket;

Title newTitle() {
    static std::atomic<std::uint64_t> made{0};
    return Title{++made};
}

std::function<void(const Result&)> withoutValue(Completion done) {
    if (!done)
        return nullptr;
    return [done = std::move(done)](const Result& result) {
        done(result ? Outcome<Acknowledged>(Acknowledged{}) : Outcome<Acknowledged>(result.error()));
    };
}

Opening toStart(Medium medium, std::string url, const StartOptions& options) {
    return {medium, false, std::move(url), options.position, options.option, "", ""};
}

Opening toPreload(Medium medium, std::string url, PreloadOptions options) {
    return {medium, true, std::move(url), options.position, 1, std::move(options.text2), std::move(options.text3)};
}

} // namespace

class MediaSession::Impl {
public:
    Impl(PostFunction post, SessionObserver observer, SessionOptions options)
        : m_loop(std::make_shared<engine::HostLoop>(std::move(post), std::move(observer))),
          m_worker(engine::Worker::start()),
          m_core(std::make_unique<SessionCore>(*m_worker, m_loop, std::move(options))) {
        perform([](SessionCore& core) { core.connect(); });
    }

    ~Impl() {
        m_loop->close();
        m_worker->end([core = std::shared_ptr<SessionCore>(std::move(m_core))]() mutable { core.reset(); });
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    Title open(Opening opening, std::function<void(const Result&)> completion) {
        const Title title = newTitle();
        perform([title, opening = std::move(opening), ticket = m_loop->keep(std::move(completion))](SessionCore& core) {
            core.open(title, opening, ticket);
        });
        return title;
    }

    Ticket keep(std::function<void(const Result&)> completion) { return m_loop->keep(std::move(completion)); }

    /// Has the worker's thread do something. The core lives until the worker's last task.
    void perform(std::function<void(SessionCore&)> action) {
        m_worker->post([&core = *m_core, action = std::move(action)] { action(core); });
    }

private:
    const std::shared_ptr<engine::HostLoop> m_loop;
    const std::shared_ptr<engine::Worker> m_worker;
    std::unique_ptr<SessionCore> m_core;
};

MediaSession::MediaSession(PostFunction post, SessionObserver observer, SessionOptions options)
    : m_impl(std::make_unique<Impl>(std::move(post), std::move(observer), std::move(options))) {}

MediaSession::~MediaSession() = default;

Title MediaSession::start(std::string url, StartOptions options, StartCompletion done) {
    return m_impl->open(toStart(Medium::Film, std::move(url), options), std::move(done));
}

Title MediaSession::startAdvertisement(std::string url, StartOptions options, StartCompletion done) {
    return m_impl->open(toStart(Medium::Advertisement, std::move(url), options), std::move(done));
}

Title MediaSession::preload(std::string url, PreloadOptions options, Completion done) {
    return m_impl->open(toPreload(Medium::Film, std::move(url), std::move(options)), withoutValue(std::move(done)));
}

Title MediaSession::preloadAdvertisement(std::string url, PreloadOptions options, Completion done) {
    return m_impl->open(toPreload(Medium::Advertisement, std::move(url), std::move(options)),
                        withoutValue(std::move(done)));
}

void MediaSession::startPreloaded(Title title, StartCompletion done) {
    m_impl->perform(
        [title, ticket = m_impl->keep(std::move(done))](SessionCore& core) { core.startPreloaded(title, ticket); });
}

void MediaSession::seek(Title title, double position, SeekOptions options, Completion done) {
    m_impl->perform([title, position, text = std::move(options.text),
                     ticket = m_impl->keep(withoutValue(std::move(done)))](SessionCore& core) {
        core.seek(title, position, text, ticket);
    });
}

void MediaSession::stop(Title title, Completion done) {
    m_impl->perform(
        [title, ticket = m_impl->keep(withoutValue(std::move(done)))](SessionCore& core) { core.stop(title, ticket); });
}

} // namespace velmora
