#include "system/bus_observer.h"

#include "bus/topic_message.h"
#include "support/awaiting.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace velmora::system_test {

using namespace desktop;

namespace {

constexpr uint64_t kWaitMicroseconds = 100'000;

constexpr std::size_t kName = 0;
constexpr std::size_t kCode = 1;

std::string entryOf(const std::vector<std::string>& event, std::size_t position) {
    return position < event.size() ? event[position] : "";
}

} // namespace

BusObserver::BusObserver() {
    if (openBus(m_bus) < 0)
        throw std::runtime_error("no bus for the observer");
    listen(topicMatchRule(kCommandTopic), onCommand);
    listen(topicMatchRule(kEventTopic), onEvent);
    listen(std::string("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") + kServiceName +
               "'",
           onOwnerChanged);
}

void BusObserver::listen(const std::string& rule, sd_bus_message_handler_t handler) {
    if (sd_bus_add_match(m_bus.get(), nullptr, rule.c_str(), handler, this) < 0)
        throw std::runtime_error("the observer cannot listen");
}

bool BusObserver::await(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        if (sd_bus_process(m_bus.get(), nullptr) == 0)
            sd_bus_wait(m_bus.get(), kWaitMicroseconds);
    }
    return true;
}

void BusObserver::forget() {
    m_commands.clear();
    m_events.clear();
    m_arrivals = 0;
    m_departures = 0;
}

bool BusObserver::hasEvent(std::size_t position, const std::string& text) const {
    return std::any_of(m_events.begin(), m_events.end(),
                       [&](const auto& event) { return entryOf(event, position) == text; });
}

bool BusObserver::hasAnswer(const std::string& name, const std::string& code) const {
    return std::any_of(m_events.begin(), m_events.end(), [&](const auto& event) {
        return entryOf(event, kName) == name && entryOf(event, kCode) == code;
    });
}

int BusObserver::onCommand(sd_bus_message* message, void* observer, sd_bus_error*) {
    if (const auto command = readTopicValue(message))
        static_cast<BusObserver*>(observer)->m_commands.push_back(entryOf(command->values, kName));
    return 0;
}

int BusObserver::onEvent(sd_bus_message* message, void* observer, sd_bus_error*) {
    if (const auto event = readTopicValue(message))
        static_cast<BusObserver*>(observer)->m_events.push_back(event->values);
    return 0;
}

int BusObserver::onOwnerChanged(sd_bus_message* message, void* observer, sd_bus_error*) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* now = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &now) > 0) {
        auto& seen = *static_cast<BusObserver*>(observer);
        seen.m_departures += std::string_view(before).empty() ? 0 : 1;
        seen.m_arrivals += std::string_view(now).empty() ? 0 : 1;
    }
    return 0;
}

} // namespace velmora::system_test
