// What a session does, on its worker thread: the titles, and their requests.
#ifndef ZUV_ENGINE_SESSION_CORE_H
#define ZUV_ENGINE_SESSION_CORE_H

#include "host_loop.h"
#include "object_pool.h"
#include "pending_requests.h"
#include "service_link.h"
#include "service_monitor.h"
#include "worker.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::engine {

enum class Medium { Film, Advertisement };

/// How a title is brought to the service.
struct Opening {
    Medium medium;
    bool isPreload; ///< it is to wait for startPreloaded()
    std::string url;
    double position;
    int option;
    std::string text2;
    std::string text3;
};

/// The operations of MediaSession, which it posts to the worker's thread with a ticket for each completion. That thread
/// only, except for the constructor.
class SessionCore {
public:
    /// @param worker outlives this.
    SessionCore(Worker& worker, std::shared_ptr<HostLoop> loop, SessionOptions options);

    /// Stops all titles, without waiting for answers.
    ~SessionCore();
    SessionCore(const SessionCore&) = delete;
    SessionCore& operator=(const SessionCore&) = delete;

    /// Loads the library and connects to the bus, unless that was done.
    /// @return whether it was done, now or before; if not, connectionError() has the reason.
    bool connect();

    void open(Title title, const Opening& opening, Ticket ticket);
    void startPreloaded(Title title, Ticket ticket);
    void seek(Title title, double position, const std::string& text, Ticket ticket);
    void stop(Title title, Ticket ticket);

private:
    enum class Phase { Creating, Opening, Preloaded, Started };

    struct Seek {
        double position;
        std::string text;
        Ticket ticket;
    };

    struct TitleState {
        Opening opening;
        Ticket openingTicket;
        Phase phase = Phase::Creating;
        Ticket startTicket = 0; // of startPreloaded(), while the preload is under way
        Object object{};        // none while it is created
        std::string localUrl{};
        std::vector<Definition> definitions{}; // those that are not reported yet
        Ticket seekTicket = 0;                 // of the seek that was sent
        std::optional<Seek> nextSeek{};
    };

    /// The bus and what depends on it.
    struct Connection {
        Connection(SessionCore& core, ZUVMediaProxyManagerInterface& manager);

        ServiceLink link;
        ObjectPool pool;
        ServiceMonitor monitor;
    };

    /// A film and an advertisement, or none.
    using Slots = std::array<std::optional<Title>, 2>;

    void onEvent(const ServiceEvent& event);
    void onServiceGone(Worker::Clock::time_point since);

    void requestOpening(Title title);
    void onObject(Title title, const Outcome<Object>& object);
    void sendOpening(Title title, TitleState& state);
    void onOpened(Title title, const Outcome<ServiceEvent>& answer);
    void onOpeningFailed(Title title, const MediaError& error);
    void play(Title title, TitleState& state, Ticket ticket);
    void onDefinitions(Title title, const std::string& text);
    void reportDefinitions(Title title, TitleState& state);

    void sendNextSeek(Title title, TitleState& state);
    void onSought(Title title, Ticket ticket, const Outcome<ServiceEvent>& answer);
    void onSeekTimedOut(Title title, Ticket ticket);

    TitleState* find(Title title);
    std::optional<Title>& slotOf(Slots& slots, Medium medium) { return slots.at(static_cast<std::size_t>(medium)); }
    void take(Slots& slots, Medium medium, Title title);
    void end(Title title, const MediaError& error);
    void fail(Title title, const MediaError& error);
    void lose(Title title, const MediaError& error);
    void finishRequests(TitleState& state, const MediaError& error);
    void erase(Title title);
    void stopUnattended(const TitleState& state);

    Worker& m_worker;
    const std::shared_ptr<HostLoop> m_loop;
    const SessionOptions m_options;
    PendingRequests m_requests;
    std::map<Title, TitleState> m_titles;
    Slots m_playing;
    Slots m_preloaded;
    MediaError m_connectionError{MediaErrorKind::ServiceGone, "", ""};
    std::unique_ptr<Connection> m_connection; // last: its end stops the events
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_SESSION_CORE_H
