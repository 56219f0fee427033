#ifndef ZUV_TESTS_DESKTOP_SERVICE_FAKE_ENGINE_H
#define ZUV_TESTS_DESKTOP_SERVICE_FAKE_ENGINE_H

#include "base/mutex.h"
#include "service/media/media_engine.h"

#include <atomic>
#include <string>
#include <vector>

namespace velmora::desktop {

/// Plays nothing, and remembers what it was asked for. Any thread.
class FakeEngine final : public MediaEngine {
public:
    std::unique_ptr<MediaPlayback> open(const MediaLocation& location, double position, std::stop_token stop) override;

    /// What was done, in order: "open NAME at 0.000000", "seek NAME to 1.000000", "end NAME".
    std::vector<std::string> journal() ZUV_EXCLUDES(m_mutex);

    /// From here on opening takes until release(), or until a stop is requested.
    void hold() ZUV_EXCLUDES(m_mutex);
    /// Returns when an opening waits for release().
    void awaitHeld() ZUV_EXCLUDES(m_mutex);
    void release() ZUV_EXCLUDES(m_mutex);

    std::atomic<bool> failing = false; ///< opening and seeking fail as what cannot be played
    std::atomic<int> height = 240;     ///< of the video; 0: there is none
    MediaAddress address;              ///< what is at the address of each medium; set before the first command

private:
    friend class FakePlayback;
    void note(const std::string& entry) ZUV_EXCLUDES(m_mutex);

    Mutex m_mutex;
    ConditionVariable m_changed;
    std::vector<std::string> m_journal ZUV_GUARDED_BY(m_mutex);
    bool m_held ZUV_GUARDED_BY(m_mutex) = false;
    bool m_waiting ZUV_GUARDED_BY(m_mutex) = false;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_FAKE_ENGINE_H
