#include "session_core.h"

#include "client_library.h"
#include "definitions.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace velmora::engine {

namespace {

constexpr const char* kStarted = "started";
constexpr const char* kStopped = "stopped";
constexpr const char* kSought = "seeked";

MediaError cancelled(const char* why) {
    return {MediaErrorKind::Cancelled, "", why};
}

MediaError refused(const char* why) {
    return {MediaErrorKind::Refused, "", why};
}

const MediaError& noSuchTitle() {
    static const auto* const error =
        new MediaError(cancelled("the title has ended")); // kept: threads may outlive main()
    return *error;
}

void stopMedium(ZUVMediaProxyInterface& proxy, Medium medium) {
    medium == Medium::Film ? proxy.stop() : proxy.stopAd();
}

/// Starts what the service has preloaded.
void startPreloadedMedium(ZUVMediaProxyInterface& proxy, const Opening& opening) {
    opening.medium == Medium::Film ? proxy.start(opening.url, 0) : proxy.startAd(opening.url, 0);
}

/// The library starts at a position by a preload only.
bool isSentAsPreload(const Opening& opening) {
    return opening.isPreload || opening.position != 0.0;
}

void openMedium(ZUVMediaProxyInterface& proxy, const Opening& opening) {
    const bool isFilm = opening.medium == Medium::Film;
    if (isSentAsPreload(opening) && isFilm)
        proxy.preload(opening.position, opening.url, opening.text2, opening.text3);
    else if (isSentAsPreload(opening))
        proxy.preloadAd(opening.url, opening.text3);
    else if (isFilm)
        proxy.start(opening.url, opening.option);
    else
        proxy.startAd(opening.url, opening.option);
}

/// Why the kit itself refuses to open it; null if it does not.
const char* objectionTo(const Opening& opening) {
    if (opening.option == 0)
        return "option 0 is what startPreloaded() sends";
    if (opening.medium == Medium::Advertisement && opening.position != 0.0)
        return "an advertisement starts at its beginning";
    return nullptr;
}

/// Whether nothing can play after this error of an opening. After others it can: a frozen service, for example, opens
/// the title when it continues.
bool hasOpenedNothing(const MediaError& error) {
    return error.kind == MediaErrorKind::NotFound || error.kind == MediaErrorKind::Unplayable || error.code == "400";
}

/// The outcome of a seek or a stop. That something is not found can only mean the object: the service that knew it is
/// gone.
Result outcomeOf(const Outcome<ServiceEvent>& answer) {
    if (answer)
        return std::string();
    MediaError error = answer.error();
    if (error.kind == MediaErrorKind::NotFound)
        error.kind = MediaErrorKind::ServiceGone;
    return error;
}

} // namespace

SessionCore::Connection::Connection(SessionCore& core, ZUVMediaProxyManagerInterface& manager)
    : link([&core](ServiceEvent event) {
          core.m_worker.post([&core, event = std::move(event)] { core.onEvent(event); });
      }),
      pool(core.m_worker, link, manager, core.m_options.limits),
      monitor(
          core.m_worker, link, core.m_options.limits,
          [&core] { return !core.m_titles.empty() || !core.m_requests.isEmpty(); },
          [&core](Worker::Clock::time_point since) { core.onServiceGone(since); }) {}

SessionCore::SessionCore(Worker& worker, std::shared_ptr<HostLoop> loop, SessionOptions options)
    : m_worker(worker), m_loop(std::move(loop)), m_options(std::move(options)), m_requests(m_worker, m_loop) {}

SessionCore::~SessionCore() {
    for (const auto& [title, state] : m_titles)
        stopUnattended(state);
}

bool SessionCore::connect() {
    if (m_connection)
        return true;
    try {
        auto connection = std::make_unique<Connection>(*this, loadClientLibrary(m_options.library));
        if (!connection->link.connect())
            throw std::runtime_error("there is no bus");
        m_connection = std::move(connection);
    } catch (const std::exception& error) {
        m_connectionError.detail = error.what();
    }
    return m_connection != nullptr;
}

void SessionCore::onEvent(const ServiceEvent& event) {
    if (event.name == "status")
        m_connection->monitor.onStatus(event);
    else
        m_connection->pool.onEvent(event);
}

// ---- From a start or preload to its outcome

void SessionCore::open(Title title, const Opening& opening, Ticket ticket) {
    take(opening.isPreload ? m_preloaded : m_playing, opening.medium, title);
    m_titles.emplace(title, TitleState{opening, ticket});
    m_requests.begin(ticket, m_options.limits.start, [this, title] {
        fail(title, {MediaErrorKind::TimedOut, "", "the title was not opened in time"});
    });
    if (const char* const objection = objectionTo(opening))
        return fail(title, refused(objection));
    if (!connect())
        return fail(title, m_connectionError);
    m_connection->monitor.begin();
    m_connection->pool.take([this, title](const Outcome<Object>& object) { onObject(title, object); });
}

void SessionCore::onObject(Title title, const Outcome<Object>& object) {
    TitleState* const state = find(title);
    if (state == nullptr) {
        if (object)
            m_connection->pool.giveBackUnused(object.value());
        return;
    }
    if (!object)
        return fail(title, object.error());
    state->object = object.value();
    sendOpening(title, *state);
}

void SessionCore::sendOpening(Title title, TitleState& state) {
    state.phase = Phase::Opening;
    state.object->listen([this, title](const std::string& text) { onDefinitions(title, text); });
    state.object->send([opening = state.opening](ZUVMediaProxyInterface& proxy) { openMedium(proxy, opening); },
                       kStarted, state.openingTicket,
                       [this, title](const Outcome<ServiceEvent>& answer) { onOpened(title, answer); });
}

void SessionCore::onOpened(Title title, const Outcome<ServiceEvent>& answer) {
    TitleState* const state = find(title);
    if (state == nullptr)
        return;
    if (!answer)
        return onOpeningFailed(title, answer.error());
    state->localUrl = answer.value().localUrl;
    if (state->localUrl.empty())
        return fail(title, refused("the service has named no local URL"));
    if (!state->opening.isPreload)
        return play(title, *state, state->openingTicket);
    state->phase = Phase::Preloaded;
    m_requests.finish(state->openingTicket, std::string());
    if (state->startTicket != 0)
        play(title, *state, state->startTicket);
}

// A service that was started anew does not know the objects of before, and says the same as of a missing medium. A new
// object shows which it is.
void SessionCore::onOpeningFailed(Title title, const MediaError& error) {
    TitleState& state = *find(title);
    if (error.kind != MediaErrorKind::NotFound || !state.object->wasUsedBefore())
        return fail(title, error);
    m_connection->pool.forget(state.object);
    state.object = nullptr;
    state.phase = Phase::Creating;
    m_connection->pool.takeNew([this, title](const Outcome<Object>& object) { onObject(title, object); });
}

void SessionCore::play(Title title, TitleState& state, Ticket ticket) {
    if (isSentAsPreload(state.opening))
        state.object->call(
            [&opening = state.opening](ZUVMediaProxyInterface& proxy) { startPreloadedMedium(proxy, opening); });
    state.phase = Phase::Started;
    m_requests.finish(ticket, state.localUrl);
    reportDefinitions(title, state);
    sendNextSeek(title, state);
}

void SessionCore::startPreloaded(Title title, Ticket ticket) {
    TitleState* const state = find(title);
    if (state == nullptr)
        return m_loop->complete(ticket, noSuchTitle());
    if (!state->opening.isPreload || state->startTicket != 0)
        return m_loop->complete(ticket, refused("the title was started before"));
    slotOf(m_preloaded, state->opening.medium).reset();
    take(m_playing, state->opening.medium, title);
    state->startTicket = ticket;
    m_requests.begin(ticket, m_options.limits.start, [this, title] {
        fail(title, {MediaErrorKind::TimedOut, "", "the title was not opened in time"});
    });
    if (state->phase == Phase::Preloaded)
        play(title, *state, ticket);
}

void SessionCore::onDefinitions(Title title, const std::string& text) {
    std::vector<Definition> definitions = parseDefinitions(text);
    TitleState* const state = find(title);
    if (state == nullptr || definitions.empty())
        return;
    state->definitions = std::move(definitions);
    if (state->phase == Phase::Started)
        reportDefinitions(title, *state);
}

void SessionCore::reportDefinitions(Title title, TitleState& state) {
    if (!state.definitions.empty())
        m_loop->reportDefinitions(title, std::exchange(state.definitions, {}));
}

// ---- Seeks

void SessionCore::seek(Title title, double position, const std::string& text, Ticket ticket) {
    TitleState* const state = find(title);
    if (state == nullptr)
        return m_loop->complete(ticket, noSuchTitle());
    if (state->opening.medium == Medium::Advertisement)
        return m_loop->complete(ticket, refused("an advertisement cannot be sought"));
    if (state->nextSeek)
        m_requests.finish(state->nextSeek->ticket, cancelled("a later seek has taken its place"));
    state->nextSeek = Seek{position, text, ticket};
    m_requests.begin(ticket, m_options.limits.seek, [this, title, ticket] { onSeekTimedOut(title, ticket); });
    if (state->phase == Phase::Started && state->seekTicket == 0)
        sendNextSeek(title, *state);
}

void SessionCore::sendNextSeek(Title title, TitleState& state) {
    if (!state.nextSeek)
        return;
    const Seek seek = std::move(*state.nextSeek);
    state.nextSeek.reset();
    state.seekTicket = seek.ticket;
    state.object->send(
        [seek](ZUVMediaProxyInterface& proxy) { proxy.seek(seek.position, seek.text); }, kSought, seek.ticket,
        [this, title, ticket = seek.ticket](const Outcome<ServiceEvent>& answer) { onSought(title, ticket, answer); });
}

void SessionCore::onSought(Title title, Ticket ticket, const Outcome<ServiceEvent>& answer) {
    TitleState* const state = find(title);
    if (state == nullptr)
        return;
    const Result outcome = outcomeOf(answer);
    if (!outcome && outcome.error().kind == MediaErrorKind::ServiceGone)
        return lose(title, outcome.error());
    m_requests.finish(ticket, outcome);
    state->seekTicket = 0;
    sendNextSeek(title, *state);
}

void SessionCore::onSeekTimedOut(Title title, Ticket ticket) {
    TitleState* const state = find(title);
    if (state == nullptr)
        return;
    if (state->nextSeek && state->nextSeek->ticket == ticket)
        return state->nextSeek.reset();
    state->object->giveUpOn(ticket);
    state->seekTicket = 0;
    sendNextSeek(title, *state);
}

// ---- The end of a title

void SessionCore::stop(Title title, Ticket ticket) {
    TitleState* const state = find(title);
    if (state == nullptr)
        return m_loop->complete(ticket, noSuchTitle());
    finishRequests(*state, cancelled("the title was stopped"));
    if (!state->object) {
        m_loop->complete(ticket, std::string());
        return erase(title);
    }
    const Object object = state->object;
    const bool hadStarted = state->phase != Phase::Opening;
    m_requests.begin(ticket, m_options.limits.stop, [object, ticket] { object->giveUpOn(ticket); });
    object->send([medium = state->opening.medium](ZUVMediaProxyInterface& proxy) { stopMedium(proxy, medium); },
                 kStopped, ticket,
                 [this, ticket, hadStarted](const Outcome<ServiceEvent>& answer) {
                     // If its start failed meanwhile, there was nothing to stop.
                     const bool hadFailed = !answer && answer.error().code == "409" && !hadStarted;
                     m_requests.finish(ticket, hadFailed ? Result(std::string()) : outcomeOf(answer));
                 });
    m_connection->pool.giveBack(object);
    erase(title);
}

SessionCore::TitleState* SessionCore::find(Title title) {
    const auto found = m_titles.find(title);
    return found == m_titles.end() ? nullptr : &found->second;
}

/// Gives a title a slot, in place of the one that has it.
void SessionCore::take(Slots& slots, Medium medium, Title title) {
    if (const std::optional<Title> earlier = slotOf(slots, medium))
        end(*earlier, cancelled("another title has taken its place"));
    slotOf(slots, medium) = title;
}

void SessionCore::end(Title title, const MediaError& error) {
    TitleState& state = *find(title);
    finishRequests(state, error);
    stopUnattended(state);
    if (state.object)
        m_connection->pool.giveBack(state.object);
    erase(title);
}

/// Ends a title that could not be opened.
void SessionCore::fail(Title title, const MediaError& error) {
    TitleState& state = *find(title);
    finishRequests(state, error);
    if (state.object) {
        state.object->giveUpOn(state.openingTicket);
        if (!hasOpenedNothing(error))
            stopUnattended(state);
        m_connection->pool.giveBack(state.object);
    }
    erase(title);
}

/// Ends a title that was opened, and whose object the service does not have any more. A service that was only frozen
/// carries the stop out when it continues.
void SessionCore::lose(Title title, const MediaError& error) {
    TitleState& state = *find(title);
    finishRequests(state, error);
    m_loop->reportLost(title, error);
    stopUnattended(state);
    m_connection->pool.forget(state.object);
    erase(title);
}

void SessionCore::finishRequests(TitleState& state, const MediaError& error) {
    m_requests.finish(state.openingTicket, error);
    m_requests.finish(state.startTicket, error);
    m_requests.finish(state.seekTicket, error);
    if (state.nextSeek)
        m_requests.finish(state.nextSeek->ticket, error);
}

void SessionCore::erase(Title title) {
    for (Slots* const slots : {&m_playing, &m_preloaded})
        std::ranges::replace(*slots, std::optional(title), std::nullopt);
    m_titles.erase(title);
}

/// Sends a stop whose answer nobody waits for; it only tells when the object is settled.
void SessionCore::stopUnattended(const TitleState& state) {
    if (state.object)
        state.object->send(
            [medium = state.opening.medium](ZUVMediaProxyInterface& proxy) { stopMedium(proxy, medium); }, kStopped, 0,
            [](const Outcome<ServiceEvent>&) {});
}

void SessionCore::onServiceGone(Worker::Clock::time_point since) {
    const MediaError gone{MediaErrorKind::ServiceGone, "", "the media service has died or hangs"};
    std::vector<Title> opened;
    for (const auto& [title, state] : m_titles)
        if (state.object && state.object->madeAt() < since && state.phase != Phase::Opening)
            opened.push_back(title);
    for (const Title title : opened)
        lose(title, gone);
    m_connection->pool.onServiceGone(since, gone); // fails what is being opened, sought or stopped
}

} // namespace velmora::engine
