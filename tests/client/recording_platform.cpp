#include "client/recording_platform.h"

#include "csp_debug.h"
#include "support/service_protocol.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <mutex>
#include <set>
#include <string_view>

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

// ---- The log

RecordingLog& recordingLog() {
    static RecordingLog instance;
    return instance;
}

namespace {

constexpr std::string_view kCommonBeginning = "[%s] %s:%d:%s(): ";
constexpr std::string_view kTraceBeginning = "[TRACE ";

// The level that this thread asked for last, if it is wanted. A line uses it up, since the client asks before each
// line.
thread_local std::string permittedLevel;

std::string takePermittedLevel() {
    std::string level = permittedLevel.empty() ? "level that nobody asked for" : permittedLevel;
    permittedLevel.clear();
    return level;
}

// The texts that blog_base_name returned: the file of each line must be one of them.
class BaseNames {
public:
    const char* add(const char* name) {
        std::lock_guard lock(m_mutex);
        m_names.insert(name);
        return name;
    }
    void check(const char* name) {
        std::lock_guard lock(m_mutex);
        EXPECT_TRUE(m_names.contains(name)) << name << " is not from blog_base_name";
    }

private:
    std::mutex m_mutex;
    std::set<const void*> m_names;
};

BaseNames& baseNames() {
    static BaseNames instance;
    return instance;
}

// Where in the code lines said they come from: one place has one format.
class Places {
public:
    void check(const std::string& file, int line, const std::string& format) {
        std::lock_guard lock(m_mutex);
        const std::string& known = m_formats.emplace(std::pair(file, line), format).first->second;
        EXPECT_EQ(format, known) << "both at line " << line << " of " << file;
    }

private:
    std::mutex m_mutex;
    std::map<std::pair<std::string, int>, std::string> m_formats;
};

Places& places() {
    static Places instance;
    return instance;
}

/// The place in the code that a line names.
struct Origin {
    std::string file;
    int line;
    std::string function;

    std::string text() const { return file + ":" + std::to_string(line) + ":" + function + "(): "; }
};

Origin takeOrigin(va_list arguments) {
    const char* file = va_arg(arguments, const char*);
    const int line = va_arg(arguments, int);
    const char* function = va_arg(arguments, const char*);
    baseNames().check(file);
    EXPECT_GT(line, 0);
    return {file, line, function};
}

/// @param text the format with its arguments filled in.
std::string describeLine(const std::string& level, const std::string& format, const std::string& text,
                         va_list arguments) {
    if (format.starts_with(kCommonBeginning)) {
        const std::string tag = va_arg(arguments, const char*);
        const Origin origin = takeOrigin(arguments);
        places().check(origin.file, origin.line, format);
        const std::string message = text.substr(("[" + tag + "] " + origin.text()).size());
        return describeOrdinaryLine(level, tag, origin.file, origin.function, format.substr(kCommonBeginning.size()),
                                    message);
    }
    if (format.starts_with(kTraceBeginning)) {
        const std::string first = va_arg(arguments, const char*);
        const Origin origin = takeOrigin(arguments);
        return describeTraceLine(level, origin.file, first, origin.function, format);
    }
    return "log " + level + " of no known form: " + quoted(format) + " gives " + quoted(text);
}

} // namespace

} // namespace velmora::test

using namespace velmora::test;

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel* descriptor) {
    const OwnWork work;
    const bool wanted = (descriptor->words[0] & 0xFFFF) <= recordingLog().wantedUpTo;
    permittedLevel = wanted ? describeLevel(descriptor->words[0], descriptor->words[1], descriptor->words[2]) : "";
    // Any number but 0 says yes.
    return wanted ? -2 : 0;
}

void cspDebugOutput0(const char* format, ...) {
    const OwnWork work;
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const std::string text = velmora::formatted(format, again);
    va_end(again);
    const std::string line = describeLine(takePermittedLevel(), format, text, arguments);
    va_end(arguments);
    journal().add(line);
    if (recordingLog().onLine)
        recordingLog().onLine(line);
}

const char* blog_base_name(const char* path) {
    const OwnWork work;
    const char* slash = std::strrchr(path, '/');
    return baseNames().add(slash == nullptr ? path : slash + 1);
}
