#ifndef ZUV_TESTS_SUPPORT_RECORDING_CLIENT_H
#define ZUV_TESTS_SUPPORT_RECORDING_CLIENT_H

#include "zuv_model_access.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace velmora::platform_test {

using Event = std::vector<std::string>;

/// Records what a connection delivers. Any thread may wait for it, for up to ten seconds unless told
/// otherwise.
class RecordingClient final : public ZUVModelAccessClient {
public:
    void onModelAccessStateChanged() override;
    void onZUVEvent(Event& event) override;

    /// Run inside the callbacks, after these were recorded. Set before delivery starts.
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
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Event> m_events;
    int m_stateChanges = 0;
    std::thread::id m_thread;
};

} // namespace velmora::platform_test

#endif // ZUV_TESTS_SUPPORT_RECORDING_CLIENT_H
