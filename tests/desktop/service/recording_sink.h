// An EventSink for tests.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_RECORDING_SINK_H
#define ZUV_TESTS_DESKTOP_SERVICE_RECORDING_SINK_H

#include "base/mutex.h"
#include "service/event_sink.h"

#include <deque>
#include <optional>
#include <vector>

namespace velmora::desktop {

/// Keeps events for a test to look at. Any thread.
class RecordingSink final : public EventSink {
public:
    struct News {
        Event event;
        std::weak_ptr<const void> subject;
    };

    void publishAnswer(CommandName command, Event answer) override ZUV_EXCLUDES(m_mutex);
    void publishRefusal(Event refusal) override ZUV_EXCLUDES(m_mutex);
    void publishNews(Event news, std::weak_ptr<const void> subject) override ZUV_EXCLUDES(m_mutex);

    /// Waits for the next answer, in the order of publishing. The test fails when none comes.
    Event next() ZUV_EXCLUDES(m_mutex);

    /// The command that next() returned the last answer to.
    CommandName answeredCommand() ZUV_EXCLUDES(m_mutex);

    std::vector<Event> refusals() ZUV_EXCLUDES(m_mutex);

    /// Whether there is no answer for next().
    bool empty() ZUV_EXCLUDES(m_mutex);

    /// Waits until there is so much news, which can come a little later than its answer, and returns all of it.
    std::vector<News> news(std::size_t count) ZUV_EXCLUDES(m_mutex);

private:
    struct Answer {
        CommandName command;
        Event event;
    };

    Mutex m_mutex;
    ConditionVariable m_changed;
    std::deque<Answer> m_answers ZUV_GUARDED_BY(m_mutex);
    std::optional<CommandName> m_answered ZUV_GUARDED_BY(m_mutex);
    std::vector<Event> m_refusals ZUV_GUARDED_BY(m_mutex);
    std::vector<News> m_news ZUV_GUARDED_BY(m_mutex);
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_RECORDING_SINK_H
