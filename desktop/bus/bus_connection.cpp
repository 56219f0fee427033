#include "bus_connection.h"

#include "desktop_log.h"
#include "topic_message.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <system_error>
#include <utility>

namespace velmora::desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr const char* kDaemonName = "org.freedesktop.DBus";
constexpr const char* kDaemonPath = "/org/freedesktop/DBus";
constexpr const char* kStartMethod = "StartServiceByName";
constexpr uint32_t kStartFlags = 0;

constexpr auto kConnectLimit = 2s;
constexpr auto kReadLimit = 100ms;
constexpr auto kFlushLimit = 100ms;

// A wait without a limit is made of waits of this length: the end of time does not fit a 32-bit time_t.
constexpr auto kLongestWait = 1h;

FileDescriptor makeWakeDescriptor() {
    FileDescriptor descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (descriptor.get() < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return descriptor;
}

// What a thread waits for in read(). Written by the thread that pumps, with the connection's mutex held.
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

// D-Bus leaves some of its texts out, and the log takes no null pointer.
const char* textOf(const char* text) {
    return text == nullptr ? "none" : text;
}

int onServiceStarted(sd_bus_message* message, void*, sd_bus_error*) noexcept {
    const sd_bus_error* error = sd_bus_message_get_error(message);
    if (error != nullptr)
        desktopLog().error("service not started: error={} text={}", textOf(error->name),
                           textOf(error->message));
    else
        desktopLog().debug("service runs: name={}", kServiceName);
    return 0;
}

timespec toTimespec(nanoseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    return {.tv_sec = static_cast<time_t>(seconds.count()),
            .tv_nsec = static_cast<long>((duration - seconds).count())};
}

// When sd-bus wants to be called again without traffic; its clock is the steady clock's.
template <typename TimePoint>
TimePoint earlierOf(TimePoint deadline, sd_bus* bus) {
    uint64_t microseconds = UINT64_MAX;
    if (sd_bus_get_timeout(bus, &microseconds) <= 0 || microseconds == UINT64_MAX)
        return deadline;
    return std::min(deadline, TimePoint(std::chrono::microseconds(microseconds)));
}

} // namespace

BusConnection::BusConnection() : m_wake(makeWakeDescriptor()) {}

BusConnection::~BusConnection() {
    Lock lock(m_mutex);
    if (isUsable())
        pumpUntil(lock, Clock::now() + kFlushLimit,
                  [this] { return (sd_bus_get_events(m_bus.get()) & POLLOUT) == 0; });
}

int BusConnection::open(const std::string& topic) {
    Lock lock(m_mutex);
    if (m_bus != nullptr)
        return -EALREADY;
    int result = connect(lock);
    if (result >= 0)
        result = listen(topic);
    if (result < 0) {
        desktopLog().error("no bus: error={}", std::strerror(-result));
        m_lost = true;
        return result;
    }
    startKeeper();
    return 0;
}

int BusConnection::connect(Lock& lock) {
    const int result = openBus(m_bus);
    if (result < 0)
        return result;
    return pumpUntil(lock, Clock::now() + kConnectLimit, [this] { return sd_bus_is_ready(m_bus.get()) > 0; });
}

int BusConnection::listen(const std::string& topic) {
    return sd_bus_add_match(m_bus.get(), nullptr, topicMatchRule(topic).c_str(), &BusConnection::onPublished,
                            this);
}

// The keeper takes its name when it listens, and the bus answers when the name is taken.
void BusConnection::startKeeper() {
    sd_bus_error error{};
    if (sd_bus_call_method(m_bus.get(), kDaemonName, kDaemonPath, kDaemonName, kStartMethod, &error, nullptr,
                           "su", kKeeperName, kStartFlags) < 0)
        desktopLog().error("no keeper, values cannot be read: error={} text={}", textOf(error.name),
                           textOf(error.message));
    sd_bus_error_free(&error);
}

int BusConnection::startService() {
    const Lock lock(m_mutex);
    if (!isUsable())
        return -ENOTCONN;
    return afterSending(sd_bus_call_method_async(m_bus.get(), nullptr, kDaemonName, kDaemonPath, kDaemonName,
                                                 kStartMethod, onServiceStarted, nullptr, "su", kServiceName,
                                                 kStartFlags));
}

int BusConnection::read(const std::string& topic, std::vector<std::string>& values) {
    values.clear();
    const auto deadline = Clock::now() + kReadLimit;
    Lock lock(m_mutex);
    if (!isUsable())
        return -ENOTCONN;
    ReadAnswer answer;
    sd_bus_slot* slot = nullptr;
    int result =
        afterSending(sd_bus_call_method_async(m_bus.get(), &slot, kKeeperName, kObjectPath, kKeeperInterface,
                                              kReadMethod, onReadAnswered, &answer, "s", topic.c_str()));
    const SlotPointer withdrawn(slot);
    if (result >= 0)
        result = pumpUntil(lock, deadline, [&answer] { return answer.arrived; });
    if (result < 0)
        return result;
    values = std::move(answer.values);
    return answer.result;
}

int BusConnection::publish(const std::string& topic, const std::vector<std::string>& values) {
    const Lock lock(m_mutex);
    if (!isUsable())
        return -ENOTCONN;
    return afterSending(sendTopicValue(m_bus.get(), topic, values));
}

std::optional<std::vector<std::string>> BusConnection::nextEvent() {
    Lock lock(m_mutex);
    const auto isReached = [this] { return m_stopped || !m_events.empty(); };
    while (pumpUntil(lock, Clock::now() + kLongestWait, isReached) == -ETIMEDOUT) {
    }
    if (m_stopped || m_events.empty())
        return std::nullopt;
    std::vector<std::string> event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

void BusConnection::stop() {
    const Lock lock(m_mutex);
    m_stopped = true;
    wakePump();
    m_pumped.notify_all();
}

bool BusConnection::isStopped() const {
    const Lock lock(m_mutex);
    return m_stopped;
}

bool BusConnection::isConnected() const {
    const Lock lock(m_mutex);
    return isUsable();
}

bool BusConnection::isUsable() const {
    return m_bus != nullptr && !m_lost;
}

// What the socket did not take waits in the connection, and a sleeping pump does not know of it.
int BusConnection::afterSending(int result) {
    if (result < 0 || (sd_bus_get_events(m_bus.get()) & POLLOUT) != 0)
        wakePump();
    return std::min(result, 0);
}

// Runs until isReached(), asked with the mutex held, says so: 0. -ENOTCONN when the connection is lost
// before, -ETIMEDOUT at the deadline. Asks after every message: traffic without end keeps nobody here.
template <typename Condition>
int BusConnection::pumpUntil(Lock& lock, Clock::time_point deadline, Condition isReached) {
    while (!isReached()) {
        if (m_lost)
            return -ENOTCONN;
        if (Clock::now() >= deadline)
            return -ETIMEDOUT;
        if (m_pumping)
            m_pumped.wait_until(lock, deadline);
        else
            pump(lock, deadline);
    }
    return 0;
}

void BusConnection::pump(Lock& lock, Clock::time_point deadline) {
    m_pumping = true;
    int result = sd_bus_process(m_bus.get(), nullptr);
    if (result == 0)
        result = waitForTraffic(lock, deadline);
    m_pumping = false;
    if (result < 0)
        lose(result);
    m_pumped.notify_all();
}

int BusConnection::waitForTraffic(Lock& lock, Clock::time_point deadline) {
    const int events = sd_bus_get_events(m_bus.get());
    if (events < 0)
        return events;
    std::array<pollfd, 2> waited = {
        {{sd_bus_get_fd(m_bus.get()), static_cast<short>(events), 0}, {m_wake.get(), POLLIN, 0}}};
    const nanoseconds left = earlierOf(deadline, m_bus.get()) - Clock::now();
    const timespec limit = toTimespec(std::max(left, nanoseconds::zero()));
    lock.unlock();
    const int ready = ppoll(waited.data(), waited.size(), &limit, nullptr);
    const int error = errno;
    eventfd_t wakes = 0;
    if (waited[1].revents != 0)
        eventfd_read(m_wake.get(), &wakes);
    lock.lock();
    return ready < 0 && error != EINTR ? -error : 0;
}

void BusConnection::lose(int error) {
    desktopLog().error("bus connection lost: error={}", std::strerror(-error));
    m_lost = true;
    sd_bus_close(m_bus.get());
}

void BusConnection::wakePump() {
    eventfd_write(m_wake.get(), 1);
}

// Runs on the thread that pumps, inside sd_bus_process(), with the mutex held.
int BusConnection::onPublished(sd_bus_message* message, void* connection, sd_bus_error*) noexcept {
    auto published = readTopicValue(message);
    if (published)
        static_cast<BusConnection*>(connection)->m_events.push_back(std::move(published->values));
    else
        desktopLog().error("malformed publication dropped: sender={}",
                           textOf(sd_bus_message_get_sender(message)));
    return 0;
}

} // namespace velmora::desktop
