#include "bus/bus_connection.h"

#include "bus/bus_daemon.h"
#include "bus/topic_message.h"
#include "log/desktop_log.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <utility>

namespace velmora::desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr auto kConnectLimit = 2s;
constexpr auto kReadLimit = 100ms;
constexpr auto kFlushLimit = 100ms;

constexpr auto kFirstPause = 100ms;
constexpr auto kLongestPause = 500ms;

// An unlimited wait is a sequence of waits of this length: the clock's maximum does not fit a 32-bit time_t.
constexpr auto kLongestWait = 1h;

// The result that read() waits for. The thread that pumps writes it, with the connection's mutex held.
struct ReadAnswer {
    bool arrived = false;
    int result = 0;
    std::vector<std::string> values;
};

int readAnswerOf(sd_bus_message* message, std::vector<std::string>& values) {
    if (sd_bus_message_is_method_error(message, nullptr) > 0)
        return -sd_bus_message_get_errno(message);
    const int result = readValues(message, values);
    if (result < 0)
        return result;
    return values.empty() ? -ENODATA : 0;
}

int onReadAnswered(sd_bus_message* message, void* userdata, sd_bus_error*) noexcept {
    auto& answer = *static_cast<ReadAnswer*>(userdata);
    answer.arrived = true;
    answer.result = readAnswerOf(message, answer.values);
    return 0;
}

int onKeeperStarted(sd_bus_message* message, void* userdata, sd_bus_error*) noexcept {
    if (const sd_bus_error* error = sd_bus_message_get_error(message))
        logError("no keeper, values cannot be read: error={} text={}", textOf(error->name), textOf(error->message));
    *static_cast<bool*>(userdata) = true;
    return 0;
}

timespec toTimespec(nanoseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    return {.tv_sec = static_cast<time_t>(seconds.count()), .tv_nsec = static_cast<long>((duration - seconds).count())};
}

// The deadline, or the time at which sd-bus has to be called even without traffic. Both are times of the steady clock.
template <typename TimePoint>
TimePoint earlierOf(TimePoint deadline, sd_bus* bus) {
    uint64_t microseconds = UINT64_MAX;
    if (sd_bus_get_timeout(bus, &microseconds) <= 0 || microseconds == UINT64_MAX)
        return deadline;
    return std::min(deadline, TimePoint(std::chrono::microseconds(microseconds)));
}

} // namespace

BusConnection::BusConnection() : m_wake(makeEventDescriptor()) {}

BusConnection::~BusConnection() {
    const MutexLock lock(m_mutex);
    if (isUsable())
        pumpUntil(Clock::now() + kFlushLimit,
                  [this]() ZUV_REQUIRES(m_mutex) { return (sd_bus_get_events(m_bus.get()) & POLLOUT) == 0; });
}

int BusConnection::open(const std::string& topic) {
    const MutexLock lock(m_mutex);
    if (m_state != State::unopened)
        return -EALREADY;
    m_topic = topic;
    m_address = busAddress();
    const int result = connect();
    if (result < 0)
        logError("no bus: error={}", std::strerror(-result));
    m_opened = result >= 0;
    return result;
}

bool BusConnection::reconnect() {
    const MutexLock lock(m_mutex);
    auto pause = kFirstPause;
    while (!m_pumped.waitFor(m_mutex, pause, [this]() ZUV_REQUIRES(m_mutex) { return m_stopped; })) {
        const int result = connect();
        if (result >= 0) {
            logInfo("bus connection restored");
            return true;
        }
        logDebug("still no bus: error={}", std::strerror(-result));
        pause = std::min(2 * pause, kLongestPause);
    }
    return false;
}

int BusConnection::connect() {
    m_state = State::connecting;
    const int result = establish();
    m_state = result < 0 ? State::lost : State::connected;
    return std::min(result, 0);
}

// Makes a new bus object each time, because one whose connection has ended cannot be used again. Other threads do not
// use it before the state is `connected`.
int BusConnection::establish() {
    int result = openBus(m_bus, m_address);
    if (result >= 0)
        result = pumpUnlessStopped(Clock::now() + kConnectLimit,
                                   [this]() ZUV_REQUIRES(m_mutex) { return sd_bus_is_ready(m_bus.get()) > 0; });
    if (result >= 0)
        result = listen();
    return result < 0 ? result : startKeeper();
}

// The answer is not waited for: the bus answers requests in their order, so that the answer to a later one implies it.
// Without a callback, sd-bus ends the connection when the request is refused.
int BusConnection::listen() {
    const int result = sd_bus_add_filter(m_bus.get(), nullptr, &BusConnection::onAnyMessage, this);
    return result < 0 ? result
                      : sd_bus_add_match_async(m_bus.get(), nullptr, topicMatchRule(m_topic).c_str(),
                                               &BusConnection::onPublished, nullptr, this);
}

// The keeper takes its name once it is subscribed, and the bus answers once the name is taken.
int BusConnection::startKeeper() {
    bool answered = false;
    sd_bus_slot* slot = nullptr;
    const int result = sd_bus_call_method_async(m_bus.get(), &slot, kDaemonName, kDaemonPath, kDaemonName, kStartMethod,
                                                onKeeperStarted, &answered, "su", kKeeperName, kStartFlags);
    const SlotPointer withdrawn(slot);
    return result < 0 ? result : pumpUnlessStopped(Clock::now() + kLongestWait, [&answered] { return answered; });
}

int BusConnection::startService() {
    const MutexLock lock(m_mutex);
    if (!isUsable())
        return -ENOTCONN;
    return afterSending(m_starter.begin(m_bus.get()));
}

int BusConnection::read(const std::string& topic, std::vector<std::string>& values) {
    values.clear();
    const auto deadline = Clock::now() + kReadLimit;
    const MutexLock lock(m_mutex);
    if (!isUsable())
        return -ENOTCONN;
    ReadAnswer answer;
    sd_bus_slot* slot = nullptr;
    int result = afterSending(sd_bus_call_method_async(m_bus.get(), &slot, kKeeperName, kObjectPath, kKeeperInterface,
                                                       kReadMethod, onReadAnswered, &answer, "s", topic.c_str()));
    const SlotPointer withdrawn(slot);
    if (result >= 0)
        result = pumpUntil(deadline, [&answer] { return answer.arrived; });
    if (result < 0)
        return result;
    values = std::move(answer.values);
    return answer.result;
}

int BusConnection::publish(const std::string& topic, const std::vector<std::string>& values) {
    const MutexLock lock(m_mutex);
    if (!isUsable())
        return -ENOTCONN;
    return afterSending(sendTopicValue(m_bus.get(), topic, values));
}

std::optional<std::vector<std::string>> BusConnection::nextEvent() {
    const MutexLock lock(m_mutex);
    const auto isReached = [this]() ZUV_REQUIRES(m_mutex) { return m_stopped || !m_events.empty(); };
    while (pumpUntil(Clock::now() + kLongestWait, isReached) == -ETIMEDOUT) {
    }
    if (m_stopped || m_events.empty())
        return std::nullopt;
    std::vector<std::string> event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

void BusConnection::stop() {
    const MutexLock lock(m_mutex);
    m_stopped = true;
    wakePump();
    m_pumped.notifyAll();
}

bool BusConnection::isStopped() const {
    const MutexLock lock(m_mutex);
    return m_stopped;
}

bool BusConnection::isOpened() const {
    const MutexLock lock(m_mutex);
    return m_opened;
}

// A message that the socket did not take at once stays in the connection's queue. The thread that pumps may be asleep
// without waiting for the socket to become writable, and is woken for that.
int BusConnection::afterSending(int result) {
    if (result < 0 || (sd_bus_get_events(m_bus.get()) & POLLOUT) != 0)
        wakePump();
    return std::min(result, 0);
}

// Pumps until the condition holds: 0. -ENOTCONN when the connection is lost before, -ETIMEDOUT at the deadline. The
// condition is checked after every message, so that continuous traffic does not prolong the wait.
template <typename Condition>
int BusConnection::pumpUntil(Clock::time_point deadline, Condition isReached) {
    while (!isReached()) {
        if (m_state == State::lost)
            return -ENOTCONN;
        if (Clock::now() >= deadline)
            return -ETIMEDOUT;
        if (m_pumping)
            m_pumped.waitUntil(m_mutex, deadline);
        else
            pump(deadline);
    }
    return 0;
}

// -ECANCELED once stop() was called.
template <typename Condition>
int BusConnection::pumpUnlessStopped(Clock::time_point deadline, Condition isReached) {
    const int result =
        pumpUntil(deadline, [this, &isReached]() ZUV_REQUIRES(m_mutex) { return m_stopped || isReached(); });
    return m_stopped ? -ECANCELED : result;
}

void BusConnection::pump(Clock::time_point deadline) {
    m_pumping = true;
    int result = sd_bus_process(m_bus.get(), nullptr);
    if (result == 0)
        result = waitForTraffic(deadline);
    m_pumping = false;
    if (result < 0)
        lose(result);
    m_pumped.notifyAll();
}

int BusConnection::waitForTraffic(Clock::time_point deadline) {
    const int events = sd_bus_get_events(m_bus.get());
    if (events < 0)
        return events;
    std::array<pollfd, 2> waited = {
        {{sd_bus_get_fd(m_bus.get()), static_cast<short>(events), 0}, {m_wake.get(), POLLIN, 0}}};
    const nanoseconds left = earlierOf(deadline, m_bus.get()) - Clock::now();
    const timespec limit = toTimespec(std::max(left, nanoseconds::zero()));
    const MutexUnlock unlock(m_mutex);
    const int ready = ppoll(waited.data(), waited.size(), &limit, nullptr);
    const int error = errno;
    eventfd_t wakes = 0;
    if (waited[1].revents != 0)
        eventfd_read(m_wake.get(), &wakes);
    return ready < 0 && error != EINTR ? -error : 0;
}

void BusConnection::lose(int error) {
    if (isUsable())
        logError("bus connection lost: error={}", std::strerror(-error));
    m_state = State::lost;
    m_starter.cancel();
    sd_bus_close(m_bus.get());
}

void BusConnection::wakePump() {
    eventfd_write(m_wake.get(), 1);
}

// Called for every message, before the callbacks that it concerns. As all callbacks, it runs inside sd_bus_process() on
// the thread that pumps, with the mutex held.
int BusConnection::onAnyMessage(sd_bus_message* message, void* connection, sd_bus_error*) noexcept {
    const auto& self = *static_cast<BusConnection*>(connection);
    self.m_mutex.assertHeld();
    if (isForeign(message, self.m_topic))
        logError("foreign message dropped: {}", originOf(message));
    return 0;
}

int BusConnection::onPublished(sd_bus_message* message, void* connection, sd_bus_error*) noexcept {
    auto& self = *static_cast<BusConnection*>(connection);
    self.m_mutex.assertHeld();
    auto published = readTopicValue(message);
    if (published)
        self.m_events.push_back(std::move(published->values));
    else
        logError("malformed publication dropped: {}", originOf(message));
    return 0;
}

} // namespace velmora::desktop
