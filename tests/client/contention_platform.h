// A platform for tests in which threads really contend. It synchronises no two threads: each thread has a record of
// its own, and threads signal each other by relaxed atomics alone. A lock in here would hide from ThreadSanitizer
// every lock that the library forgets.
#ifndef ZUV_TESTS_CLIENT_CONTENTION_PLATFORM_H
#define ZUV_TESTS_CLIENT_CONTENTION_PLATFORM_H

#include "zuv_media_proxy.h"
#include "zuv_model_access.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace velmora::test {

using Strings = std::vector<std::string>;

/// What the library did on one thread.
struct ThreadRecord {
    std::vector<Strings> commands; ///< published on the command topic
    std::size_t neutralEvents = 0; ///< published on the event topic
    /// Calls of the callbacks: "main" or "ad", identifier, what changed, value.
    std::vector<Strings> notifications;
    Strings failures; ///< lines of the log at the level of failures

    std::size_t commandsNamed(const std::string& name) const;
    std::size_t notificationsOf(const std::string& callback, const std::string& changed) const;
    std::size_t failuresWith(const std::string& text) const;
};

/// The record of the calling thread.
ThreadRecord& ownRecord();

/// A count that threads wait for, without synchronising with those that count.
class Counter {
public:
    void add() { __atomic_fetch_add(&m_count, 1, __ATOMIC_RELAXED); }
    int count() const { return __atomic_load_n(&m_count, __ATOMIC_RELAXED); }
    /// Leaves no trace in ThreadSanitizer's memory, which is short: a report without the stack of the access
    /// before matches no suppression.
    __attribute__((no_sanitize("thread"))) void await(int count) const;

private:
    int m_count = 0; ///< by the built-in operations: those of std::atomic are functions that leave traces
};

using Action = std::function<void()>;

/// Runs `delivery` as the bus's delivery thread and each of `applications` as a thread of the application,
/// all at once, and returns their records: the delivery thread's first.
std::vector<ThreadRecord> runTogether(const Action& delivery, const std::vector<Action>& applications);

/// The same for `rounds` rounds, each of which begins for all threads at once, so that they contend in every round,
/// even on a machine with few processors.
using RoundAction = std::function<void(int round)>;
std::vector<ThreadRecord> runRounds(int rounds, const RoundAction& delivery,
                                    const std::vector<RoundAction>& applications);

/// The sum of several threads' records.
ThreadRecord total(const std::vector<ThreadRecord>& records);

/// Actions of the test within calls of the platform, on the calling thread. Set before threads run.
struct ContentionPlatform {
    ZUVModelAccessClient* client = nullptr;
    std::function<void(const Strings& command)> onCommand = [](const Strings&) {};
    std::function<void(Strings& values)> onRead = [](Strings&) {};
    Action onStartService = [] {};
    std::function<void(const std::string& line)> onLine = [](const std::string&) {};
    std::function<void(const std::string& id)> duringCallback = [](const std::string&) {};
};

ContentionPlatform& platform();

/// Hands an event to the client, as the delivery thread does.
void deliver(Strings event);

/// Writes an event to the service's shared memory, which the first one creates.
void leaveInMemory(const Strings& event);

// The application's callbacks: they record their calls.
void recordMainNotification(std::string id, std::string changed, std::string value);
void recordAdNotification(std::string id, std::string changed, std::string value);

// The service's events.
Strings createdEvent(const std::string& id, const std::string& sessionId = "", const std::string& code = "200");
Strings startedEvent(const std::string& id, const std::string& url, const std::string& kind = "main_video",
                     const std::string& sessionId = "");
Strings definitionEvent(const std::string& id, const std::string& definitions);
/// "stopped", "seeked", "status".
Strings plainEvent(const std::string& name, const std::string& id, const std::string& sessionId = "");

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_CONTENTION_PLATFORM_H
