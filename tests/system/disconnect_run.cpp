#include "system/disconnect_run.h"

#include "bus/topic_message.h"
#include "support/awaiting.h"
#include "support/bus_peer.h"
#include "support/processes.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace velmora::system_test {

using std::chrono::steady_clock;

namespace {

const std::string kFence = "fence";
constexpr std::size_t kLocalUrl = 6; // in an event

// Simulated media need not exist.
const std::string kMedium = "http://127.0.0.1/film.webm";
const std::string kProperService = R"({"description": "A proper service.", "rules": []})";

std::string answerOf(Operation operation) {
    switch (operation) {
    case Operation::Create:
        return "created";
    case Operation::Stop:
        return "stopped";
    case Operation::Seek:
        return "seeked";
    case Operation::Inspect:
        return "status";
    case Operation::Start:
    case Operation::Preload:
        return "started";
    }
    return "";
}

// Ends the run: nothing after this would work.
void require(bool condition, const char* what) {
    if (!condition)
        throw std::runtime_error(what);
}

} // namespace

DisconnectRun::DisconnectRun(const Cell& cell) : m_cell(cell), m_promise(promiseOf(cell)) {
    m_startable.nextPlays(scenario());
    m_bus.emplace(m_startable.folder());
    setenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().c_str(), 1);
}

// The bus would wait for a frozen service before it ends.
DisconnectRun::~DisconnectRun() {
    if (isStopped(m_service)) {
        EXPECT_TRUE(sendSignal(m_service, SIGKILL));
    }
}

// During: the service has carried the command out, and does not send its answer. After: it has sent it. A synchronous
// creation sends its command twice, and ends with the second answer.
std::string DisconnectRun::scenario() const {
    if (isBefore())
        return kProperService;
    const bool after = m_cell.moment == Moment::After;
    const bool killed = m_cell.disturbance == Disturbance::Killed;
    const bool twice = m_cell.operation == Operation::Create && m_cell.mode == Mode::Synchronous;
    const std::string answer = R"({ "do": "answer" })";
    const std::string steps = killed  ? (after ? answer + "," : "") + R"({ "do": "abort" })"
                              : after ? answer + R"(,{ "do": "freeze" })"
                                      : R"({ "do": "freeze" },)" + answer;
    return R"({"description": "One cell.", "rules": [{"command": ")" + commandOf(m_cell.operation) + R"(", "nth": )" +
           (after && twice ? "2" : "1") + R"(, "steps": [)" + steps + "]}]}";
}

// A creation whose command was not answered starts the service itself.
bool DisconnectRun::isRestartedByUs() const {
    return m_cell.afterwards == Afterwards::Restarted &&
           (m_cell.operation != Operation::Create || m_cell.moment == Moment::After);
}

Seen DisconnectRun::run() {
    prepare();
    if (isBefore())
        disturb();
    if (isBefore() && isRestartedByUs())
        startService();
    beginObservation();
    Seen seen = call();
    proceedAfterTheCall();
    awaitAnswer();
    awaitCallbacks();
    passFence();
    complete(seen);
    return seen;
}

void DisconnectRun::prepare() {
    connect();
    startService();
    m_service = BusPeer().processOf(desktop::kServiceName);
    if (m_cell.afterwards == Afterwards::NotRestarted)
        m_startable.nextFails();
    else
        m_startable.nextPlays(kProperService);
    if (m_cell.operation == Operation::Create)
        return;
    m_proxy = newProxy();
    require(!m_proxy->id().empty(), "there is no proxy to begin with");
    if (m_cell.operation == Operation::Stop || m_cell.operation == Operation::Seek)
        startMedium();
}

void DisconnectRun::connect() {
    m_observer.emplace();
    ZUVMediaProxyManagerInterface& interface = *requestZUVMediaProxy();
    interface.setZUVCallback(&NotificationRecord::onMainVideo);
    interface.setZUVAdCallback(&NotificationRecord::onAdvertisement);
    m_manager = ZUVMediaProxyManager::getInstance();
    m_fence = interface.createNewZUVMediaProxy(kFence);
}

// As the library does: starts a service that does not run, and replaces one that does not answer.
void DisconnectRun::startService() {
    const int earlier = m_observer->arrivals();
    m_manager->requestStartZUVService();
    ++m_startsByUs;
    require(m_observer->await([&] { return m_observer->arrivals() > earlier; }), "the service did not start");
}

std::shared_ptr<ZUVMediaProxyInterface> DisconnectRun::newProxy() const {
    return createProxy(*requestZUVMediaProxy(), m_cell.mode);
}

// With all its notifications: an advertisement's URL comes twice in synchronous mode.
void DisconnectRun::startMedium() {
    start();
    if (isAdvertisement()) {
        require(NotificationRecord::await(Medium::Advertisement, "url", m_cell.mode == Mode::Synchronous ? 2 : 1)
                    .has_value(),
                "the advertisement did not start");
        return;
    }
    require(NotificationRecord::await(Medium::MainVideo, "url") &&
                NotificationRecord::await(Medium::MainVideo, "definitions"),
            "the main video did not start");
}

void DisconnectRun::disturb() {
    require(sendSignal(m_service, m_cell.disturbance == Disturbance::Killed ? SIGKILL : SIGSTOP),
            "no service to disturb");
    awaitDisturbance();
}

void DisconnectRun::awaitDisturbance() {
    if (m_cell.disturbance == Disturbance::Killed)
        require(m_observer->await([this] { return m_observer->departures() > 0; }), "the service did not end");
    else
        require(eventually([this] { return isStopped(m_service); }), "the service did not freeze");
}

void DisconnectRun::beginObservation() {
    passFence();
    m_deliveryThread = deliveryThread();
    m_observer->forget();
    m_earlierNotifications = NotificationRecord::all().size();
    m_earlierStarts = m_startable.starts();
    m_startsByUs = 0;
}

// Known from a notification of the proxy "fence", which comes by the bus alone.
std::thread::id DisconnectRun::deliveryThread() {
    const std::size_t earlier = NotificationRecord::all().size();
    m_manager->m_modelAccess->publish(desktop::kEventTopic, {"definition", "200", "", kFence});
    require(NotificationRecord::await([&](const std::vector<Notification>& all) { return all.size() > earlier; }),
            "the library lost the fence's notification");
    return NotificationRecord::all().back().thread;
}

Seen DisconnectRun::call() {
    Seen seen;
    const auto begin = steady_clock::now();
    seen.returned = perform();
    seen.duration = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
    return seen;
}

std::string DisconnectRun::perform() {
    switch (m_cell.operation) {
    case Operation::Create:
        return create();
    case Operation::Start:
        start();
        return "";
    case Operation::Stop:
        stop();
        return "";
    case Operation::Seek:
        m_proxy->seek(1.0, "");
        return "";
    case Operation::Preload:
        preload();
        return "";
    case Operation::Inspect:
        return m_manager->checkZUVServiceAlive() ? "true" : "false";
    }
    return "";
}

std::string DisconnectRun::create() {
    m_proxy = newProxy();
    EXPECT_EQ(ZUVMediaProxyInterface::getObjectById(m_proxy->id()), m_proxy);
    return m_proxy->id().empty() ? "a proxy without identifier" : "a proxy with identifier";
}

void DisconnectRun::start() {
    isAdvertisement() ? m_proxy->startAd(kMedium, 1) : m_proxy->start(kMedium, 1);
}

void DisconnectRun::stop() {
    isAdvertisement() ? m_proxy->stopAd() : m_proxy->stop();
}

void DisconnectRun::preload() {
    isAdvertisement() ? m_proxy->preloadAd(kMedium, "") : m_proxy->preload(0.0, kMedium, "", "");
}

// A start that fails ends some time after it was asked for. A service that the library has replaced needs no waiting
// for its disturbance.
void DisconnectRun::proceedAfterTheCall() {
    const int promised = m_earlierStarts + m_promise.restarts;
    require(eventually([&] { return m_startable.starts() >= promised; }),
            "the library did not have the service started");
    if (!isBefore() && m_promise.restarts == 0)
        awaitDisturbance();
    if (!isBefore() && isRestartedByUs())
        startService();
    if (m_cell.afterwards == Afterwards::Continued)
        require(sendSignal(m_service, SIGCONT), "no service to continue");
}

void DisconnectRun::awaitAnswer() {
    const Outcome outcome = outcomeOf(m_cell);
    if (outcome == Outcome::Unanswered || outcome == Outcome::GivenUp)
        return;
    const char* code = outcome == Outcome::UnknownObject ? "404" : "200";
    require(m_observer->await([&] { return m_observer->hasAnswer(answerOf(m_cell.operation), code); }),
            "no answer came");
}

void DisconnectRun::awaitCallbacks() {
    const std::size_t expected = m_earlierNotifications + m_promise.callbacks.size();
    require(NotificationRecord::await([&](const std::vector<Notification>& all) { return all.size() >= expected; }),
            "a callback is missing");
}

// An event that the library publishes and receives itself. When the library has handled it and the observer has
// received it, both have everything that was sent before: the library's commands, and the events seen so far.
void DisconnectRun::passFence() {
    const std::string mark = kFence + std::to_string(++m_fences);
    m_manager->m_modelAccess->publish(desktop::kEventTopic, {"started", "200", "", kFence, "", "", mark});
    require(m_observer->await([&] { return m_observer->hasEvent(kLocalUrl, mark); }), "the bus lost the fence");
    require(eventually([&] { return m_fence->localURL() == mark; }), "the library lost the fence");
}

void DisconnectRun::complete(Seen& seen) {
    seen.id = m_proxy->id();
    seen.state = m_proxy->getState();
    seen.adState = m_proxy->getAdState();
    seen.localUrl = isAdvertisement() ? m_proxy->localAdURL() : m_proxy->localURL();
    const std::vector<Notification> notifications = NotificationRecord::all();
    seen.callbacks.assign(notifications.begin() + static_cast<std::ptrdiff_t>(m_earlierNotifications),
                          notifications.end());
    seen.deliveryThread = m_deliveryThread;
    seen.commands = m_observer->commands();
    seen.restarts = m_startable.starts() - m_earlierStarts - m_startsByUs;
}

} // namespace velmora::system_test
