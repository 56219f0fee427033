// The engine kit: plays titles through the media proxy client on behalf of a web engine, and never blocks its threads.
//
// A session stands for one player of a page, such as a <video> element:
//
//     velmora::MediaSession session(postToMainLoop, {onDefinitions, onLost});
//     velmora::Title film = session.start("https://example.org/film.webm", {}, [](const auto& outcome) {
//         if (outcome)
//             setSource(outcome.value()); // the local URL
//         else
//             reportError(outcome.error().detail);
//     });
//     session.seek(film, 90.0, {}, [](const auto& outcome) { ... });
//
// THREADS
//   Every operation may be called from any thread, and returns at once. A session has one worker thread, on which all
//   calls of the client library are made, and a connection to the platform's bus, which has a delivery thread.
//
//   Results come back through the function that the host gives to the constructor. It adds a task to the host's own
//   loop; there the session's callbacks run, one after the other, without any lock held. A callback may call every
//   operation of every session, and may destroy its own.
//
// OUTCOMES
//   Every request has exactly one outcome, which is handed to the completion that was given with it: a value, or an
//   error. There are two exceptions: an empty completion is not called, and destroying a session ends its pending
//   requests without a call.
//
// TITLES
//   A Title is the handle of one film or advertisement, from the start or preload that returned it until it ends: by
//   stop(), by a start or preload that takes its place, by a failed start, or when the media service is lost. A request
//   for a title that has ended fails with MediaErrorKind::Cancelled. Titles do not mix: each has a remote object of its
//   own, so neither an answer nor definitions of one ever reach another.
//
//   A session has one film and one advertisement that play, and one of each that are preloaded. A start takes the place
//   of what plays, a preload that of what is preloaded; the earlier title's pending requests are then cancelled. The
//   film and the advertisement do not affect each other.
//
// THE MEDIA SERVICE
//   It is started when a title needs it and it does not answer. While a session has titles it asks the service for a
//   sign of life. When none comes, because the service has died or hangs, titles that were started or preloaded are
//   reported as lost, pending requests fail with MediaErrorKind::ServiceGone, and the next start uses a new object.
//
// docs/engine.md describes how an engine uses the kit. The header is valid C++17 and later.
#ifndef ZUV_MEDIA_SESSION_H
#define ZUV_MEDIA_SESSION_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#if defined(__GNUC__)
#define ZUV_ENGINE_EXPORT __attribute__((visibility("default")))
#else
#define ZUV_ENGINE_EXPORT
#endif

namespace velmora {

/// Why a request failed.
enum class MediaErrorKind {
    NotFound,    ///< the medium does not exist or cannot be reached (the service's code 404)
    Unplayable,  ///< the medium exists but cannot be played, or not be sought (415)
    Refused,     ///< the service refused for another reason (any other code), or the request is not possible
    ServiceGone, ///< the service, the bus or the client library is not there, or does not answer
    TimedOut,    ///< the service runs, but did not answer this request in time
    Cancelled    ///< the title has ended, or a later request has taken the place of this one
};

/// The error of a request, or of a title that was lost.
struct MediaError {
    MediaErrorKind kind;
    std::string code; ///< the service's result code, such as "404"; empty if the error is not an answer of the service
    std::string detail; ///< for people, in English
};

/// The result of a request: a value, or an error.
template <typename Value>
class Outcome {
public:
    Outcome(Value value) : m_result(std::in_place_index<0>, std::move(value)) {}
    Outcome(MediaError error) : m_result(std::in_place_index<1>, std::move(error)) {}

    /// Whether the request succeeded.
    explicit operator bool() const { return m_result.index() == 0; }

    /// @throws std::bad_variant_access if the request failed.
    const Value& value() const { return std::get<0>(m_result); }

    /// @throws std::bad_variant_access if the request succeeded.
    const MediaError& error() const { return std::get<1>(m_result); }

private:
    std::variant<Value, MediaError> m_result;
};

/// The value of a request that only succeeds or fails.
struct Acknowledged {};

/// Takes the outcome of a start: the local URL, from which the page can play the title until it ends.
using StartCompletion = std::function<void(const Outcome<std::string>& localUrl)>;

/// Takes the outcome of a preload, a seek or a stop.
using Completion = std::function<void(const Outcome<Acknowledged>& outcome)>;

/// The handle of a title, unique in the process. The kit never returns 0.
enum class Title : std::uint64_t {};

/// One of the qualities in which a title is available.
struct Definition {
    std::string name; ///< as the service names it, such as "720p"
    std::string url;  ///< the local URL of this quality
};

/// What a session reports without being asked. Each function may be empty.
struct SessionObserver {
    /// The qualities of a film are known, or have changed. Called after the outcome of the film's start.
    std::function<void(Title, const std::vector<Definition>&)> onDefinitions;

    /// A title that was started or preloaded has ended because the service is gone. Its local URL is not served any
    /// more, which a <video> element may notice late or not at all: remove it as the source.
    std::function<void(Title, const MediaError&)> onLost;
};

/// How long a session waits. A limit counts from the call, or from the given event.
struct SessionLimits {
    /// For the outcome of a start or preload, the creation of its remote object included.
    std::chrono::milliseconds start{10000};
    std::chrono::milliseconds seek{5000};
    std::chrono::milliseconds stop{3000};

    /// For the creation of a remote object, which starts the service if necessary. Without an answer the request fails
    /// with MediaErrorKind::ServiceGone.
    std::chrono::milliseconds creation{2400};

    /// While the session has titles: how often the service is asked for a sign of life, and how soon it has to answer.
    /// A lost service is noticed within the sum of both. The desktop's service holds definitions back for 100 ms after
    /// each answer, so an interval of less than that keeps them from arriving.
    std::chrono::milliseconds probeInterval{1000};
    std::chrono::milliseconds probeAnswer{1000};

    /// How long a remote object rests before another title uses it, so that late events of the title before have
    /// passed. An object that has left a request unanswered is not used again.
    std::chrono::milliseconds reuse{5000};
};

/// How a session is set up.
struct SessionOptions {
    /// The client library, as for dlopen(): a path, or a name that the dynamic linker searches for. In a program that
    /// is linked with the library, the default finds the one that is loaded already. It is never unloaded.
    std::string library{"libzuv_media_proxy.so.1"};
    SessionLimits limits{};
};

/// How a film or an advertisement is started.
struct StartOptions {
    /// Where a film begins, in seconds; 0 for an advertisement. Other than 0, the film is preloaded at the position and
    /// then started, and `option` is not used.
    double position{0.0};

    /// Passed on to the service, which defines its meaning; not 0.
    int option{1};
};

/// How a film or an advertisement is preloaded.
struct PreloadOptions {
    double position{0.0}; ///< where a film begins, in seconds; 0 for an advertisement
    std::string text2{};  ///< passed on to the service; not used for an advertisement
    std::string text3{};  ///< passed on to the service
};

/// How a film is sought.
struct SeekOptions {
    std::string text{}; ///< passed on to the service
};

/// One player of a page: a film, an advertisement, and what is preloaded of each.
class ZUV_ENGINE_EXPORT MediaSession {
public:
    /// Adds a task to the end of the host's loop, which later runs it. Called on the session's worker thread; must not
    /// block, throw, or wait for a thread that destroys the session. The host may drop a task, for example when its
    /// loop has ended; the outcome in it is then lost.
    using PostFunction = std::function<void(std::function<void()> task)>;

    /// Makes the worker thread, which then loads the client library and connects to the bus. What goes wrong there is
    /// the outcome of the requests that follow.
    ///
    /// @param post must not be empty. zuv_glib_loop.h has one for GLib's main loop, zuv_poll_loop.h one for a poll()
    ///     loop.
    /// @throws std::system_error if there can be no thread.
    explicit MediaSession(PostFunction post, SessionObserver observer = {}, SessionOptions options = {});

    /// Ends the session: stops its titles and has the service free its objects. Any thread, a callback of the session
    /// included. Returns without waiting for the service, the bus or the worker thread.
    ///
    /// Afterwards no callback is called, not even from tasks that were posted before. On another thread than that of a
    /// running callback it first waits for that callback to return. Completions and observer functions that were not
    /// called are destroyed on the calling thread.
    ~MediaSession();
    MediaSession(const MediaSession&) = delete;
    MediaSession& operator=(const MediaSession&) = delete;

    /// Starts a film, in place of the one that plays, which is stopped.
    ///
    /// @param url an absolute path, or a file, http or https URL, as far as the service can open it.
    /// @param done on success the local URL; definitions follow. On failure the title has ended.
    Title start(std::string url, StartOptions options, StartCompletion done);

    /// Starts an advertisement, in place of the one that plays, which is stopped. The film is not affected.
    Title startAdvertisement(std::string url, StartOptions options, StartCompletion done);

    /// Has the service open a film in advance, in place of the one that was preloaded. What plays is not affected.
    ///
    /// @param done success means that startPreloaded() will have its outcome at once. On failure the title has ended.
    Title preload(std::string url, PreloadOptions options, Completion done);

    /// As preload(), for an advertisement.
    Title preloadAdvertisement(std::string url, PreloadOptions options, Completion done);

    /// Starts a preloaded title, in place of the film or advertisement that plays, which is stopped. The preload need
    /// not have an outcome yet: a success or failure of it is then also the outcome of this request.
    void startPreloaded(Title title, StartCompletion done);

    /// Seeks a film. The seek waits while the film is being started, and fails with it; it also waits while another
    /// seek of the film is under way. Of the seeks that wait, only the latest is carried out; the others are cancelled.
    ///
    /// @param position in seconds from the beginning.
    void seek(Title title, double position, SeekOptions options, Completion done);

    /// Ends a title, whatever its state. Its pending requests are cancelled at once.
    ///
    /// @param done on success the service does not serve the title any more.
    void stop(Title title, Completion done);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace velmora

#endif // ZUV_MEDIA_SESSION_H
