// Clients of the bus that record what a connection delivers, and their connections.
#ifndef ZUV_TESTS_SUPPORT_PARTICIPANT_H
#define ZUV_TESTS_SUPPORT_PARTICIPANT_H

#include "base/mutex.h"
#include "zuv_model_access.h"

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace velmora {

using Event = std::vector<std::string>;

/// Records what a connection delivers. Any thread may wait for it, for up to kPatience unless told otherwise.
class RecordingClient final : public ZUVModelAccessClient {
public:
    void onModelAccessStateChanged() override;
    void onZUVEvent(Event& event) override;

    /// Run inside the callbacks, after the call was recorded. Set before delivery starts.
    std::function<void(const Event&)> whenEvent;
    std::function<void()> whenStateChanged;

    /// Whether at least `count` events have come.
    bool awaitEvents(std::size_t count);
    /// Whether an event that is `wanted` has come, or comes within `limit`.
    bool awaitEvent(const std::function<bool(const Event&)>& wanted, std::chrono::milliseconds limit);
    /// Whether the state has changed at least `count` times.
    bool awaitStateChanges(int count);
    std::vector<Event> events() const;
    int stateChanges() const;

    /// The thread of the last callback.
    std::thread::id thread() const;

private:
    mutable desktop::Mutex m_mutex;
    desktop::ConditionVariable m_changed;
    std::vector<Event> m_events ZUV_GUARDED_BY(m_mutex);
    int m_stateChanges ZUV_GUARDED_BY(m_mutex) = 0;
    std::thread::id m_thread ZUV_GUARDED_BY(m_mutex);
};

/// A connection together with the client that it delivers to.
struct Participant {
    RecordingClient client;
    ZUVModelAccess access{&client};

    /// Connects and starts delivery. @return whether both worked.
    bool join() { return access.initialize() == 0 && access.start() == 0; }

    /// Reads, and repeats the read when it timed out: on a busy machine its 100 ms may be too short.
    /// @param isTimeout whether a result means that; a platform need not tell timeouts from other failures.
    int readPatiently(const std::string& topic, Event& value, bool (*isTimeout)(int) = isFailure);

    /// Reads until `topic` has that value, for at most kPatience. @return whether it has it.
    bool awaitValue(const std::string& topic, const Event& value);

private:
    static bool isFailure(int result) { return result != 0; }
};

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_PARTICIPANT_H
