#include "desktop/service/service_client.h"

#include "bus/topic_message.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace velmora::desktop {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPatience{20};
constexpr const char* kBus = "org.freedesktop.DBus";

} // namespace

ServiceClient::ServiceClient() {
    EXPECT_GE(openBus(m_bus), 0);
    EXPECT_GE(sd_bus_add_match(m_bus.get(), nullptr, topicMatchRule(kEventTopic).c_str(), onEvent, this), 0);
    // Wakes processUntil() when a name comes or goes.
    EXPECT_GE(sd_bus_add_match(m_bus.get(), nullptr, "type='signal',sender='org.freedesktop.DBus'", nullptr, nullptr),
              0);
}

void ServiceClient::activateService() {
    EXPECT_GE(sd_bus_call_method(m_bus.get(), kBus, "/org/freedesktop/DBus", kBus, "StartServiceByName", nullptr,
                                 nullptr, "su", kServiceName, 0),
              0);
}

void ServiceClient::awaitService() {
    EXPECT_TRUE(processUntil([this] { return hasService(); }));
}

void ServiceClient::awaitNoService() {
    EXPECT_TRUE(processUntil([this] { return !hasService(); }));
}

bool ServiceClient::hasService() {
    return sd_bus_call_method(m_bus.get(), kBus, "/org/freedesktop/DBus", kBus, "GetNameOwner", nullptr, nullptr, "s",
                              kServiceName) >= 0;
}

bool ServiceClient::ping() {
    return sd_bus_call_method(m_bus.get(), kServiceName, "/", "org.freedesktop.DBus.Peer", "Ping", nullptr, nullptr,
                              nullptr) >= 0;
}

void ServiceClient::send(const std::vector<std::string>& values) {
    EXPECT_GE(sendTopicValue(m_bus.get(), kCommandTopic, values), 0);
    EXPECT_GE(sd_bus_flush(m_bus.get()), 0);
}

std::string ServiceClient::send(const std::string& name, const std::string& object, const std::string& kind,
                                const std::string& url, const std::string& position, const std::string& option) {
    const char* self = nullptr;
    EXPECT_GE(sd_bus_get_unique_name(m_bus.get(), &self), 0);
    const std::string session = "ses-" + std::string(self) + "-" + std::to_string(++m_sessions);
    send({name, kind, session, object, "1.000000", position, url, "", "", option, ""});
    return session;
}

ReceivedEvent ServiceClient::answerTo(const std::string& session) {
    return take([&](const ReceivedEvent& event) { return event.session() == session; });
}

ReceivedEvent ServiceClient::next(const std::string& name) {
    return take([&](const ReceivedEvent& event) { return event.name() == name; });
}

std::vector<ReceivedEvent> ServiceClient::eventsUntil(const std::string& session) {
    std::vector<ReceivedEvent> events;
    do
        events.push_back(take([](const ReceivedEvent&) { return true; }));
    while (events.back().session() != session && !events.back().values.empty());
    return events;
}

bool ServiceClient::hasEvent() {
    while (sd_bus_process(m_bus.get(), nullptr) > 0)
        ;
    return !m_events.empty();
}

ReceivedEvent ServiceClient::request(const std::string& name, const std::string& object, const std::string& kind,
                                     const std::string& url, const std::string& position, const std::string& option) {
    return answerTo(send(name, object, kind, url, position, option));
}

std::string ServiceClient::createObject() {
    return request("create", "").object();
}

int ServiceClient::onEvent(sd_bus_message* message, void* client, sd_bus_error*) {
    const std::optional<TopicValue> event = readTopicValue(message);
    EXPECT_TRUE(event);
    if (event)
        static_cast<ServiceClient*>(client)->m_events.push_back({event->values, Clock::now()});
    return 0;
}

bool ServiceClient::processUntil(const std::function<bool()>& condition) {
    const auto limit = Clock::now() + kPatience;
    while (!condition()) {
        if (Clock::now() > limit)
            return false;
        if (sd_bus_process(m_bus.get(), nullptr) == 0)
            sd_bus_wait(m_bus.get(), 100'000); // microseconds
    }
    return true;
}

ReceivedEvent ServiceClient::take(const std::function<bool(const ReceivedEvent&)>& wanted) {
    const auto find = [&] { return std::find_if(m_events.begin(), m_events.end(), wanted); };
    if (!processUntil([&] { return find() != m_events.end(); })) {
        ADD_FAILURE() << "no event came";
        return {};
    }
    const ReceivedEvent event = *find();
    m_events.erase(m_events.begin(), find() + 1);
    return event;
}

} // namespace velmora::desktop
