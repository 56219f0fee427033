// The platform's bus, as the tests provide it: every operation goes into the journal, and a script says what
// happens meanwhile. One connection at a time is assumed to receive events.
#ifndef ZUV_TESTS_CLIENT_RECORDING_BUS_H
#define ZUV_TESTS_CLIENT_RECORDING_BUS_H

#include "client/journal.h"
#include "zuv_model_access.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace velmora::test {

/// What a script may hang onto the bus. Everything runs on the thread that called the bus, after the
/// operation was recorded and before it returns; what it throws reaches the client.
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

    /// Called with the `nth` (from 1) command of this name.
    void onCommand(const std::string& name, int nth, CommandAction action);
    void onEveryCommand(const std::string& name, CommandAction action);

    /// What a read of any topic fills in.
    Strings topicValue;
    /// What every operation answers.
    int result = 0;

    /// Hands an event to the client: on a thread of the bus, done when this returns ...
    void deliver(Strings event);
    /// ... or on the calling thread.
    void deliverHere(Strings event);
    /// The bus's thread that delivered last.
    std::thread::id deliveryThread() const { return m_deliveryThread; }

    /// The commands of this name so far.
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

/// The threads that this process runs at the moment.
std::size_t threadCount();

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_RECORDING_BUS_H
