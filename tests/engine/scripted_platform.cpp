#include "engine/scripted_platform.h"

#include "csp_debug.h"
#include "support/awaiting.h"
#include "support/service_protocol.h"
#include "zuv_model_access.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <thread>

namespace velmora {

using engine_test::Inbox;
using engine_test::platform;
using engine_test::Strings;

IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {
    ZUVModelAccessClient* client;
    std::shared_ptr<Inbox> inbox = std::make_shared<Inbox>();
    std::thread delivery{};
};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) : m_impl(new Impl{.client = client}) {}

ZUVModelAccess::~ZUVModelAccess() {
    platform().remove(m_impl->inbox);
    m_impl->inbox->close();
    if (m_impl->delivery.joinable())
        m_impl->delivery.join();
}

int ZUVModelAccess::initialize() {
    return platform().hasBus() ? 0 : -1;
}

int ZUVModelAccess::start() {
    platform().add(m_impl->inbox);
    m_impl->delivery = std::thread([client = m_impl->client, inbox = m_impl->inbox] {
        while (auto event = inbox->take())
            client->onZUVEvent(*event);
    });
    return 0;
}

int ZUVModelAccess::startService() {
    platform().onStartService();
    return 0;
}

int ZUVModelAccess::read(const std::string&, Strings& values) {
    values.clear();
    return -1;
}

int ZUVModelAccess::publish(std::string topic, Strings values) {
    platform().onPublished(topic, values);
    return 0;
}

namespace engine_test {

Command::Command(const Strings& entries)
    : name(entries[0]), kind(entries[1]), request(entries[2]), object(entries[3]), position(entries[5]),
      url(entries[6]), text2(entries[7]), text3(entries[8]), option(entries[9]) {}

void Inbox::put(const Strings& event) {
    const desktop::MutexLock lock(m_mutex);
    m_events.push_back(event);
    m_changed.notifyOne();
}

std::optional<Strings> Inbox::take() {
    const desktop::MutexLock lock(m_mutex);
    m_changed.wait(m_mutex, [this]() ZUV_REQUIRES(m_mutex) { return m_closed || !m_events.empty(); });
    if (m_closed)
        return std::nullopt;
    Strings event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

void Inbox::close() {
    const desktop::MutexLock lock(m_mutex);
    m_closed = true;
    m_changed.notifyOne();
}

// Never destroyed: the library's connection and ended sessions' threads use it until the process has ended.
ScriptedPlatform& ScriptedPlatform::instance() {
    static auto* const platform = new ScriptedPlatform;
    return *platform;
}

void ScriptedPlatform::reset() {
    EXPECT_TRUE(eventually([this] { return connections() <= 1; }));
    const desktop::MutexLock lock(m_mutex);
    m_state = {};
}

void ScriptedPlatform::keepQuietOn(const std::string& command) {
    const desktop::MutexLock lock(m_mutex);
    m_state.replies[command] = {true, "", ""};
}

void ScriptedPlatform::answerWith(const std::string& command, const std::string& code, const std::string& detail) {
    const desktop::MutexLock lock(m_mutex);
    m_state.replies[command] = {false, code, detail};
}

void ScriptedPlatform::answerProperly(const std::string& command) {
    const desktop::MutexLock lock(m_mutex);
    m_state.replies.erase(command);
}

void ScriptedPlatform::endService() {
    const desktop::MutexLock lock(m_mutex);
    m_state.isServiceRunning = false;
    m_state.objects.clear();
}

void ScriptedPlatform::preventStart() {
    const desktop::MutexLock lock(m_mutex);
    m_state.isStartPrevented = true;
}

void ScriptedPlatform::replaceService() {
    const desktop::MutexLock lock(m_mutex);
    m_state.objects.clear();
}

void ScriptedPlatform::holdCalls() {
    const desktop::MutexLock lock(m_mutex);
    m_state.areCallsHeld = true;
}

void ScriptedPlatform::letCallsReturn() {
    const desktop::MutexLock lock(m_mutex);
    m_state.areCallsHeld = false;
    m_changed.notifyAll();
}

void ScriptedPlatform::awaitReturn() {
    m_changed.waitFor(m_mutex, kPatience, [this]() ZUV_REQUIRES(m_mutex) { return !m_state.areCallsHeld; });
}

void ScriptedPlatform::send(const Strings& event) {
    const desktop::MutexLock lock(m_mutex);
    put(event);
}

void ScriptedPlatform::answer(const Command& command) {
    const desktop::MutexLock lock(m_mutex);
    put(answerTo(command));
}

Command ScriptedPlatform::await(const std::string& name, std::size_t nth) {
    const desktop::MutexLock lock(m_mutex);
    std::optional<Command> found;
    m_changed.waitFor(m_mutex, kPatience, [&]() ZUV_REQUIRES(m_mutex) {
        std::size_t count = 0;
        for (const Command& command : m_state.commands)
            if (command.name == name && ++count == nth)
                found = command;
        return found.has_value();
    });
    return found.value_or(Command(Strings(11)));
}

std::vector<Command> ScriptedPlatform::commands(const std::string& name) {
    const desktop::MutexLock lock(m_mutex);
    std::vector<Command> found;
    std::ranges::copy_if(m_state.commands, std::back_inserter(found),
                         [&](const Command& each) { return each.name == name; });
    return found;
}

int ScriptedPlatform::serviceStarts() {
    const desktop::MutexLock lock(m_mutex);
    return m_state.serviceStarts;
}

std::size_t ScriptedPlatform::connections() {
    const desktop::MutexLock lock(m_mutex);
    return m_inboxes.size();
}

void ScriptedPlatform::provideBus(bool isThere) {
    const desktop::MutexLock lock(m_mutex);
    m_state.hasBus = isThere;
}

bool ScriptedPlatform::hasBus() {
    const desktop::MutexLock lock(m_mutex);
    awaitReturn();
    return m_state.hasBus;
}

void ScriptedPlatform::add(const std::shared_ptr<Inbox>& inbox) {
    const desktop::MutexLock lock(m_mutex);
    m_inboxes.push_back(inbox);
}

void ScriptedPlatform::remove(const std::shared_ptr<Inbox>& inbox) {
    const desktop::MutexLock lock(m_mutex);
    std::erase(m_inboxes, inbox);
}

void ScriptedPlatform::onPublished(const std::string& topic, const Strings& values) {
    const desktop::MutexLock lock(m_mutex);
    awaitReturn();
    if (topic == kEventTopic)
        return put(values);
    const Command command(values);
    m_state.commands.push_back(command);
    m_changed.notifyAll();
    if (m_state.isServiceRunning)
        putAnswer(command);
}

void ScriptedPlatform::onStartService() {
    const desktop::MutexLock lock(m_mutex);
    awaitReturn();
    ++m_state.serviceStarts;
    m_state.isServiceRunning = m_state.isServiceRunning || !m_state.isStartPrevented;
}

void ScriptedPlatform::put(const Strings& event) {
    for (const auto& inbox : m_inboxes)
        inbox->put(event);
}

void ScriptedPlatform::putAnswer(const Command& command) {
    const auto reply = m_state.replies.find(command.name);
    if (reply == m_state.replies.end())
        return put(answerTo(command));
    if (reply->second.isQuiet)
        return;
    Strings event = answerTo(command);
    event[1] = reply->second.code;
    event[6] = "";
    event[8] = reply->second.detail;
    put(event);
}

Strings ScriptedPlatform::answerTo(const Command& command) {
    static const std::map<std::string, std::string> names = {{"create", "created"},  {"start", "started"},
                                                             {"preload", "started"}, {"stop", "stopped"},
                                                             {"seek", "seeked"},     {"inspect", "status"}};
    Strings event = {names.at(command.name), "200", command.request, command.object, "", "", "", "", "OK",
                     command.kind,           ""};
    if (command.name == "create")
        event[3] = objectFor(command.request);
    const bool isKnown =
        std::ranges::any_of(m_state.objects, [&](const auto& entry) { return entry.second == command.object; });
    if (command.object.empty() || isKnown) {
        if (event[0] == "started")
            event[6] = "local:" + command.url;
        return event;
    }
    event[1] = "404";
    event[8] = "No such object";
    return event;
}

std::string ScriptedPlatform::objectFor(const std::string& request) {
    std::string& object = m_state.objects[request];
    if (object.empty())
        object = "object-" + std::to_string(++m_state.objectsMade);
    return object;
}

} // namespace engine_test

} // namespace velmora

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel*) {
    return 0;
}

void cspDebugOutput0(const char*, ...) {}

const char* blog_base_name(const char* path) {
    const char* const slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

// The program's platform takes the place of the one that the shared objects were linked with, on purpose.
extern "C" const char* __asan_default_options() {
    return "detect_odr_violation=0";
}
