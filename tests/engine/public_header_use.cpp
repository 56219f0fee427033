// Compiled on its own, as every C++ standard that the kit's headers promise: nothing else is needed to use them.
#include "zuv_media_session.h"
#include "zuv_poll_loop.h"

void useEverything() {
    velmora::PollLoop loop;
    velmora::SessionObserver observer;
    observer.onDefinitions = [](velmora::Title, const std::vector<velmora::Definition>&) {};
    observer.onLost = [](velmora::Title, const velmora::MediaError&) {};
    velmora::SessionOptions options;
    options.library = "libzuv_media_proxy.so.1";
    options.limits.start = std::chrono::seconds(5);
    velmora::MediaSession session(loop.post(), observer, options);
    std::string source;
    const auto started = [&source](const velmora::Outcome<std::string>& outcome) {
        source = outcome ? outcome.value() : outcome.error().code + outcome.error().detail;
    };
    const auto done = [](const velmora::Outcome<velmora::Acknowledged>& outcome) {
        return !outcome && outcome.error().kind == velmora::MediaErrorKind::TimedOut;
    };
    const velmora::Title film = session.start("film", {}, started);
    session.startAdvertisement("advertisement", {}, started);
    session.seek(film, 1.0, {}, done);
    session.startPreloaded(session.preload("next", {}, done), started);
    session.stop(session.preloadAdvertisement("advertisement", {}, done), done);
    static_cast<void>(loop.descriptor());
    loop.dispatch();
}
