// The program around a session: a poll() loop, and a record of what the session calls back with.
#ifndef ZUV_TESTS_ENGINE_HOST_H
#define ZUV_TESTS_ENGINE_HOST_H

#include "support/awaiting.h"
#include "zuv_media_session.h"
#include "zuv_poll_loop.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmora::engine_test {

/// Records each callback as a line, in their order:
///
///     "NAME: VALUE", "NAME: done", "NAME: not found 404 DETAIL"      outcomes
///     "NAME has 240p URL, 720p URL", "NAME is lost: service gone"    reports on titles
///
/// One thread, which runs the loop in await().
class Host {
public:
    MediaSession::PostFunction post() const { return m_loop.post(); }
    SessionObserver observer();

    /// Completions that record the outcome under a name.
    StartCompletion started(const std::string& name);
    Completion done(const std::string& name);

    /// Names a title in reports.
    Title named(const std::string& name, Title title);

    /// Runs the loop until the condition holds, for at most kPatience. @return whether it holds.
    bool await(const std::function<bool()>& condition);
    /// Runs the loop until there is a line that begins like this. @return the line; empty when none comes.
    std::string await(const std::string& beginning);
    /// Runs the loop for a time, for what must not happen.
    void runFor(std::chrono::milliseconds time);

    void add(const std::string& line) { m_lines.push_back(line); }
    const std::vector<std::string>& lines() const { return m_lines; }

private:
    void runUntil(std::chrono::steady_clock::time_point deadline);

    PollLoop m_loop;
    std::map<Title, std::string> m_names;
    std::vector<std::string> m_lines;
};

/// "not found 404 DETAIL", without what is empty.
std::string textOf(const MediaError& error);

} // namespace velmora::engine_test

#endif // ZUV_TESTS_ENGINE_HOST_H
