// A platform within the test's process, for the exact behaviour of the kit: a bus that records the commands, and a
// service that answers as a test wants it to.
#ifndef ZUV_TESTS_ENGINE_SCRIPTED_PLATFORM_H
#define ZUV_TESTS_ENGINE_SCRIPTED_PLATFORM_H

#include "base/mutex.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::engine_test {

using Strings = std::vector<std::string>;

/// A command, by the names of its entries.
struct Command {
    explicit Command(const Strings& entries);

    std::string name;
    std::string kind;
    std::string request;
    std::string object;
    std::string position;
    std::string url;
    std::string text2;
    std::string text3;
    std::string option;
};

/// The events of one connection, in their order.
class Inbox {
public:
    void put(const Strings& event);
    /// Waits for the next event. @return none once it is closed.
    std::optional<Strings> take();
    void close();

private:
    desktop::Mutex m_mutex;
    desktop::ConditionVariable m_changed;
    std::deque<Strings> m_events ZUV_GUARDED_BY(m_mutex);
    bool m_closed ZUV_GUARDED_BY(m_mutex) = false;
};

/// The bus, and the service on it, which answers at once as a proper one does, except where a test has changed that.
/// All operations: any thread.
class ScriptedPlatform {
public:
    static ScriptedPlatform& instance();

    /// Begins anew, for another test, when all connections but the library's have ended.
    void reset();

    // ---- What the service does

    /// Has the service leave commands of this name unanswered from now on.
    void keepQuietOn(const std::string& command);
    /// Has the service answer commands of this name with this result code from now on.
    void answerWith(const std::string& command, const std::string& code, const std::string& detail = "");
    /// Has the service answer commands of this name as usual from now on.
    void answerProperly(const std::string& command);

    /// The service ends, with its objects, and hears no commands until it is started.
    void endService();
    /// The service no longer is started when somebody asks for it.
    void preventStart();
    /// Ends the service and starts another at once.
    void replaceService();

    /// Calls of the platform that are made from now on do not return before the next letCallsReturn(), or for
    /// kPatience.
    void holdCalls();
    void letCallsReturn();

    /// Sends an event.
    void send(const Strings& event);
    /// Sends the usual answer to a command.
    void answer(const Command& command);

    // ---- What it saw

    /// Waits for the `nth` command of this name, counted from 1.
    /// @return a command without a name when it does not come in kPatience.
    Command await(const std::string& name, std::size_t nth = 1);
    std::vector<Command> commands(const std::string& name);
    int serviceStarts();
    std::size_t connections();

    /// Whether new connections find a bus.
    void provideBus(bool isThere);

    // ---- For the connections

    bool hasBus();
    void add(const std::shared_ptr<Inbox>& inbox);
    void remove(const std::shared_ptr<Inbox>& inbox);
    void onPublished(const std::string& topic, const Strings& values);
    void onStartService();

private:
    struct Reply {
        bool isQuiet;
        std::string code;
        std::string detail;
    };

    void awaitReturn() ZUV_REQUIRES(m_mutex);
    void put(const Strings& event) ZUV_REQUIRES(m_mutex);
    void putAnswer(const Command& command) ZUV_REQUIRES(m_mutex);
    Strings answerTo(const Command& command) ZUV_REQUIRES(m_mutex);
    std::string objectFor(const std::string& request) ZUV_REQUIRES(m_mutex);

    struct State {
        std::vector<Command> commands;
        std::map<std::string, Reply> replies;       // by command
        std::map<std::string, std::string> objects; // by request of their creation
        int objectsMade = 0;
        int serviceStarts = 0;
        bool isServiceRunning = true;
        bool isStartPrevented = false;
        bool hasBus = true;
        bool areCallsHeld = false;
    };

    desktop::Mutex m_mutex;
    desktop::ConditionVariable m_changed;
    std::vector<std::shared_ptr<Inbox>> m_inboxes ZUV_GUARDED_BY(m_mutex);
    State m_state ZUV_GUARDED_BY(m_mutex);
};

inline ScriptedPlatform& platform() {
    return ScriptedPlatform::instance();
}

} // namespace velmora::engine_test

#endif // ZUV_TESTS_ENGINE_SCRIPTED_PLATFORM_H
