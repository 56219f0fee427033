// The journal of a test: every log line, platform call and callback of the client, a line each, in the order in which
// they happened. Tests compare it as text, so that a failure shows as a diff.
#ifndef ZUV_TESTS_CLIENT_JOURNAL_H
#define ZUV_TESTS_CLIENT_JOURNAL_H

#include "base/mutex.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::test {

using Strings = std::vector<std::string>;

/// Marks work of the test itself within an operation of the client: no call on this thread fails or counts meanwhile.
class OwnWork {
public:
    OwnWork();
    ~OwnWork();
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;
};
bool isOwnWork();

/// Any thread; each call takes the journal's own lock.
class Journal {
public:
    void add(std::string line);
    void clear();

    std::vector<std::string> lines() const;
    /// The lines that begin with `beginning`, e.g. "bus: publish".
    std::vector<std::string> linesOf(const std::string& beginning) const;
    std::size_t count(const std::string& line) const;
    /// The thread that wrote `line` first; no thread when it is not there.
    std::thread::id threadOf(const std::string& line) const;

private:
    mutable desktop::Mutex m_mutex;
    std::vector<std::pair<std::string, std::thread::id>> m_lines ZUV_GUARDED_BY(m_mutex);
};

Journal& journal();

/// The lines, each with a line end.
std::string asText(const std::vector<std::string>& lines);

/// The text in quotation marks, with line ends and quotation marks escaped.
std::string quoted(const std::string& text);
std::string listed(const Strings& values);

/// The text with `by` in each place of `part`.
std::string replaced(std::string text, const std::string& part, const std::string& by);

// ---- How a log line is written in the journal

/// "level 1000" for a descriptor of the client's module, otherwise the three words as they are.
std::string describeLevel(std::uint32_t word0, std::uint32_t word1, std::uint32_t word2);

/// A line with the common beginning; `format` and `text` are without it.
std::string describeOrdinaryLine(const std::string& level, const std::string& tag, const std::string& file,
                                 const std::string& function, const std::string& format, const std::string& text);

/// A line of a scope trace, whose format has the name of the function twice.
std::string describeTraceLine(const std::string& level, const std::string& file, const std::string& first,
                              const std::string& last, const std::string& format);

// ---- Expected lines

// `format` is the message without the common beginning "[%s] %s:%d:%s(): ".

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
/// Entries of a command or event by their position.
using Fields = std::vector<std::pair<std::size_t, std::string>>;
/// A command on the command topic with these entries; the others of its eleven are empty.
std::string command(const Fields& entries);
/// All of initializeZUVEvent(): its line, and the neutral list on the event topic.
std::vector<std::string> neutralEventPublished();
std::string slept(std::chrono::microseconds duration);
std::string waited(std::chrono::nanoseconds untilDeadline);
std::string notifiedAll();
std::string locked(const std::string& mutex);
std::string unlocked(const std::string& mutex);
std::string calledBack(const std::string& callback, const std::string& id, const std::string& key,
                       const std::string& value);

/// The lists one after another.
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
