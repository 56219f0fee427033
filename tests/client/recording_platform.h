// The platform as the tests provide it: a bus that records its operations in the journal and runs the actions that a
// test attaches to them, and a log that records its lines there.
#ifndef ZUV_TESTS_CLIENT_RECORDING_PLATFORM_H
#define ZUV_TESTS_CLIENT_RECORDING_PLATFORM_H

#include "client/journal.h"
#include "zuv_model_access.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace velmora::test {

/// The bus, with the actions that a test attaches to its operations. An action runs on the thread that called the bus,
/// after the operation was recorded and before it returns; an exception of it reaches the client. At most one
/// connection at a time receives events.
class RecordingBus {
public:
    using Action = std::function<void()>;
    using CommandAction = std::function<void(const Strings& command)>;

    Action onConnectionMade = [] {};
    Action onConnectionDeleted = [] {};
    Action onInitialize = [] {};
    Action onStart = [] {};
    Action onStartService = [] {};
    std::function<void(const std::string& topic, const Strings& values)> onPublish = [](const std::string&,
                                                                                        const Strings&) {};

    /// Runs with the `nth` command of this name, counted from 1.
    void onCommand(const std::string& name, int nth, CommandAction action);
    void onEveryCommand(const std::string& name, CommandAction action);

    /// The value that a read of any topic returns.
    Strings topicValue;
    /// The result of every operation.
    int result = 0;

    /// Hands an event to the client on a thread of the bus, and returns when the client has handled it.
    void deliver(Strings event);
    /// Hands an event to the client on the calling thread.
    void deliverHere(Strings event);
    /// The thread of the last deliver().
    std::thread::id deliveryThread() const { return m_deliveryThread; }

    /// How many commands of this name were published.
    int commandCount(const std::string& name) const;
    ZUVModelAccessClient* client() const { return m_client; }

    // The connections report here.
    void setClient(ZUVModelAccessClient* client) { m_client = client; }
    void recordPublish(const std::string& operation, const std::string& topic, const Strings& values);

private:
    ZUVModelAccessClient* m_client = nullptr;
    std::thread::id m_deliveryThread;
    std::map<std::string, int> m_commandCounts;
    std::map<std::pair<std::string, int>, CommandAction> m_nthCommandActions;
    std::map<std::string, CommandAction> m_commandActions;
};

RecordingBus& bus();

/// A connection that an application already has; its lines begin with "adopted bus: ".
class AdoptedConnection final : public IZuvModelAccess {
public:
    ~AdoptedConnection() override;
    int initialize() override;
    int start() override;
    int startService() override;
    int read(const std::string& topic, Strings& values) override;
    int publish(std::string topic, Strings values) override;
};

struct RecordingLog {
    /// The highest level that is wanted: when the client asks for a higher one, the answer is no.
    unsigned wantedUpTo = 0xFFFF;
    /// Called with every line, on the thread that logged it, after it was recorded; an exception reaches the client.
    std::function<void(const std::string& line)> onLine;
};

RecordingLog& recordingLog();

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_RECORDING_PLATFORM_H
