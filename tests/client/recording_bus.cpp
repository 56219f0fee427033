#include "client/recording_bus.h"

#include "client/failing_calls.h"
#include "client/topics.h"

#include <filesystem>
#include <iterator>
#include <utility>

namespace velmora {

using test::bus;
using test::busLine;
using test::journal;
using test::OwnWork;
using test::Strings;

IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) : m_impl(std::make_unique<Impl>()) {
    const OwnWork work;
    journal().add(busLine("connection made"));
    bus().setClient(client);
    bus().onConnectionMade();
}

ZUVModelAccess::~ZUVModelAccess() {
    const OwnWork work;
    journal().add(busLine("connection deleted"));
    bus().onConnectionDeleted();
}

int ZUVModelAccess::initialize() {
    const OwnWork work;
    journal().add(busLine("initialize"));
    bus().onInitialize();
    return bus().result;
}

int ZUVModelAccess::start() {
    const OwnWork work;
    journal().add(busLine("start"));
    bus().onStart();
    return bus().result;
}

int ZUVModelAccess::startService() {
    const OwnWork work;
    journal().add(busLine("start service"));
    bus().onStartService();
    return bus().result;
}

int ZUVModelAccess::read(const std::string& topic, Strings& values) {
    const OwnWork work;
    journal().add(busLine("read " + topic));
    values = bus().topicValue;
    return bus().result;
}

int ZUVModelAccess::publish(std::string topic, Strings values) {
    const OwnWork work;
    bus().recordPublish("bus: publish on ", topic, values);
    return bus().result;
}

} // namespace velmora

namespace velmora::test {

void RecordingBus::onCommand(const std::string& name, int nth, CommandAction action) {
    m_nthCommandActions[{name, nth}] = std::move(action);
}

void RecordingBus::onEveryCommand(const std::string& name, CommandAction action) {
    m_commandActions[name] = std::move(action);
}

void RecordingBus::deliver(Strings event) {
    std::thread delivery([this, event = std::move(event)]() mutable {
        m_deliveryThread = std::this_thread::get_id();
        m_client->onZUVEvent(event);
    });
    delivery.join();
}

void RecordingBus::deliverHere(Strings event) {
    m_client->onZUVEvent(event);
}

int RecordingBus::commandCount(const std::string& name) const {
    const auto found = m_commandCounts.find(name);
    return found == m_commandCounts.end() ? 0 : found->second;
}

void RecordingBus::recordPublish(const std::string& operation, const std::string& topic, const Strings& values) {
    journal().add(operation + topic + " " + listed(values));
    onPublish(topic, values);
    if (topic != kCommandTopic || values.empty())
        return;
    const std::string& name = values.front();
    const int nth = ++m_commandCounts[name];
    if (const auto nthAction = m_nthCommandActions.find({name, nth}); nthAction != m_nthCommandActions.end())
        nthAction->second(values);
    if (const auto action = m_commandActions.find(name); action != m_commandActions.end())
        action->second(values);
}

RecordingBus& bus() {
    static RecordingBus instance;
    return instance;
}

AdoptedConnection::~AdoptedConnection() {
    const OwnWork work;
    journal().add("adopted bus: connection deleted");
}

int AdoptedConnection::initialize() {
    const OwnWork work;
    journal().add("adopted bus: initialize");
    return bus().result;
}

int AdoptedConnection::start() {
    const OwnWork work;
    journal().add("adopted bus: start");
    return bus().result;
}

int AdoptedConnection::startService() {
    const OwnWork work;
    journal().add("adopted bus: start service");
    return bus().result;
}

int AdoptedConnection::read(const std::string& topic, Strings& values) {
    const OwnWork work;
    journal().add("adopted bus: read " + topic);
    values = bus().topicValue;
    return bus().result;
}

int AdoptedConnection::publish(std::string topic, Strings values) {
    const OwnWork work;
    bus().recordPublish("adopted bus: publish on ", topic, values);
    return bus().result;
}

std::size_t threadCount() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator()));
}

} // namespace velmora::test
