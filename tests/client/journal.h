// The one ordered journal of a test: what the client put out, asked of its platform and told the application,
// line by line, in the order in which it happened. A test compares the journal as text, so that a failure
// shows as a diff.
#ifndef ZUV_TESTS_CLIENT_JOURNAL_H
#define ZUV_TESTS_CLIENT_JOURNAL_H

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::test {

using Strings = std::vector<std::string>;

/// May be written from any thread; takes a lock of its own for each call.
class Journal {
public:
    void add(std::string line);
    void clear();

    std::vector<std::string> lines() const;
    /// The lines that begin with `beginning`, e.g. "bus: publish".
    std::vector<std::string> linesOf(const std::string& beginning) const;
    std::size_t count(const std::string& line) const;
    /// The thread that first wrote `line`; no thread when nobody did.
    std::thread::id threadOf(const std::string& line) const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::string, std::thread::id>> m_lines;
};

Journal& journal();

/// Lines one below the other.
std::string asText(const std::vector<std::string>& lines);

/// The text in quotation marks, all of it on one line.
std::string quoted(const std::string& text);
std::string listed(const Strings& values);

// Expected lines. `format` is the message without the common beginning "[%s] %s:%d:%s(): ".

/// A line of zuv_media_manager_interface_impl.cpp.
__attribute__((format(printf, 3, 4))) std::string entryLog(int level, const char* function, const char* format, ...);
/// A line of zuv_media_proxy_manager.cpp.
__attribute__((format(printf, 3, 4))) std::string managerLog(int level, const char* function, const char* format, ...);
/// A line of zuv_media_proxy_object.cpp.
__attribute__((format(printf, 3, 4))) std::string objectLog(int level, const char* function, const char* format, ...);
std::string traceIn(const std::string& function);
std::string traceOut(const std::string& function);

std::string busLine(const std::string& operation);
std::string published(const std::string& topic, const Strings& values);
/// A command vector on the command topic: the given entries, every other one of the eleven empty.
std::string command(const std::vector<std::pair<std::size_t, std::string>>& entries);
/// All of initializeZUVEvent(): its line, and the neutral list on the event topic.
std::vector<std::string> neutralEventPublished();
std::string slept(std::chrono::microseconds duration);
std::string waited(std::chrono::nanoseconds untilDeadline);
std::string notifiedAll();
std::string locked(const std::string& mutex);
std::string unlocked(const std::string& mutex);
std::string calledBack(const std::string& callback, const std::string& id, const std::string& key,
                       const std::string& value);

/// The lines put together, for expectations that share a run of lines.
std::vector<std::string> joined(const std::vector<std::vector<std::string>>& parts);

} // namespace velmora::test

/// Everything since the journal was last cleared, exactly these lines in this order.
#define EXPECT_JOURNAL(...)                                                                                            \
    EXPECT_EQ(::velmora::test::asText(::velmora::test::journal().lines()),                                             \
              ::velmora::test::asText(std::vector<std::string>{__VA_ARGS__}))

/// The same for a ready list of lines.
#define EXPECT_JOURNAL_LINES(expected)                                                                                 \
    EXPECT_EQ(::velmora::test::asText(::velmora::test::journal().lines()), ::velmora::test::asText(expected))

#endif // ZUV_TESTS_CLIENT_JOURNAL_H
