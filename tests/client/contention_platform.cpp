#include "client/contention_platform.h"

#include "csp_debug.h"
#include "support/service_protocol.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velmora {

using test::ownRecord;
using test::platform;
using test::Strings;

IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) {
    platform().client = client;
}

ZUVModelAccess::~ZUVModelAccess() = default;

int ZUVModelAccess::initialize() {
    return 0;
}

int ZUVModelAccess::start() {
    return 0;
}

int ZUVModelAccess::startService() {
    platform().onStartService();
    return 0;
}

int ZUVModelAccess::read(const std::string&, Strings& values) {
    platform().onRead(values);
    return 0;
}

int ZUVModelAccess::publish(std::string topic, Strings values) {
    if (topic == kEventTopic) {
        ++ownRecord().neutralEvents;
        return 0;
    }
    ownRecord().commands.push_back(values);
    platform().onCommand(values);
    return 0;
}

} // namespace velmora

namespace velmora::test {

namespace {

constexpr std::size_t kMemorySize = 4096;
constexpr uint32_t kLevelMask = 0xFFFF;
constexpr uint32_t kFailureLevel = 1000;

/// The descriptor of the service's shared memory; negative before it exists. One thread writes it.
std::atomic<int> eventMemory = -1;

template <typename T>
void append(std::vector<T>& all, const std::vector<T>& more) {
    all.insert(all.end(), more.begin(), more.end());
}

} // namespace

ThreadRecord& ownRecord() {
    thread_local ThreadRecord record;
    return record;
}

std::size_t ThreadRecord::commandsNamed(const std::string& name) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(commands, [&](const Strings& command) { return command.front() == name; }));
}

std::size_t ThreadRecord::notificationsOf(const std::string& callback, const std::string& changed) const {
    return static_cast<std::size_t>(std::ranges::count_if(
        notifications, [&](const Strings& call) { return call[0] == callback && call[2] == changed; }));
}

std::size_t ThreadRecord::failuresWith(const std::string& text) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(failures, [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

void Counter::await(int count) const {
    while (__atomic_load_n(&m_count, __ATOMIC_RELAXED) < count)
        sched_yield();
}

std::vector<ThreadRecord> runTogether(const Action& delivery, const std::vector<Action>& applications) {
    std::vector<Action> actions = {delivery};
    append(actions, applications);
    std::vector<ThreadRecord> records(actions.size());
    Counter ready;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < actions.size(); ++i)
        threads.emplace_back([&, i] {
            ready.add();
            ready.await(static_cast<int>(actions.size()));
            actions[i]();
            records[i] = std::move(ownRecord());
        });
    for (std::thread& thread : threads)
        thread.join();
    return records;
}

std::vector<ThreadRecord> runRounds(int rounds, const RoundAction& delivery,
                                    const std::vector<RoundAction>& applications) {
    const int threads = static_cast<int>(applications.size()) + 1;
    Counter arrived;
    const auto inRounds = [&](const RoundAction& action) {
        return [&, action] {
            for (int round = 0; round < rounds; ++round) {
                arrived.add();
                arrived.await(threads * (round + 1));
                action(round);
            }
        };
    };
    std::vector<Action> actions;
    for (const RoundAction& application : applications)
        actions.push_back(inRounds(application));
    return runTogether(inRounds(delivery), actions);
}

ThreadRecord total(const std::vector<ThreadRecord>& records) {
    ThreadRecord sum;
    for (const ThreadRecord& record : records) {
        append(sum.commands, record.commands);
        sum.neutralEvents += record.neutralEvents;
        append(sum.notifications, record.notifications);
        append(sum.failures, record.failures);
    }
    return sum;
}

ContentionPlatform& platform() {
    static ContentionPlatform instance;
    return instance;
}

void deliver(Strings event) {
    platform().client->onZUVEvent(event);
}

void leaveInMemory(const Strings& event) {
    int memory = eventMemory.load(std::memory_order_relaxed);
    if (memory < 0)
        memory = memfd_create("event memory", MFD_CLOEXEC);
    std::string content = eventText(event);
    content.resize(kMemorySize);
    if (pwrite(memory, content.data(), content.size(), 0) != static_cast<ssize_t>(kMemorySize))
        throw std::runtime_error("the event memory cannot be written");
    eventMemory.store(memory, std::memory_order_relaxed);
}

void recordMainNotification(std::string id, std::string changed, std::string value) {
    ownRecord().notifications.push_back({"main", id, changed, value});
    platform().duringCallback(id);
}

void recordAdNotification(std::string id, std::string changed, std::string value) {
    ownRecord().notifications.push_back({"ad", id, changed, value});
    platform().duringCallback(id);
}

Strings createdEvent(const std::string& id, const std::string& sessionId, const std::string& code) {
    return {"created", code, sessionId, id};
}

Strings startedEvent(const std::string& id, const std::string& url, const std::string& kind,
                     const std::string& sessionId) {
    return {"started", "200", sessionId, id, "", "", url, "", "", kind, ""};
}

Strings definitionEvent(const std::string& id, const std::string& definitions) {
    return {"definition", "200", "", id, "", "", "", definitions};
}

Strings plainEvent(const std::string& name, const std::string& id, const std::string& sessionId) {
    return {name, "200", sessionId, id};
}

} // namespace velmora::test

using namespace velmora::test;

// Every line is formatted, so that ThreadSanitizer sees the library's texts read.
namespace {
thread_local uint32_t checkedLevel = 0;
} // namespace

extern "C" {

int cspDebugCheckLevelGetFrameAndChunk(const CspDebugLevel* descriptor) {
    checkedLevel = descriptor->words[0] & kLevelMask;
    return 1;
}

void cspDebugOutput0(const char* format, ...) {
    thread_local std::array<char, 2 * kMemorySize> line;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    if (checkedLevel == kFailureLevel)
        ownRecord().failures.emplace_back(line.data());
    platform().onLine(line.data());
}

const char* blog_base_name(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

// The service's shared memory is the test's own, and sleeps take no time: in these tests an answer is there
// before anybody sleeps for it.
int __wrap_shm_open(const char*, int, mode_t) {
    const int memory = eventMemory.load(std::memory_order_relaxed);
    if (memory >= 0)
        return fcntl(memory, F_DUPFD_CLOEXEC, 0);
    errno = ENOENT;
    return -1;
}

int __wrap_nanosleep(const timespec*, timespec*) {
    return 0;
}

} // extern "C"
