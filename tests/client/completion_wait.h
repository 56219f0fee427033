// How the bounded wait for an answer in shared memory reads in the journal.
#ifndef ZUV_TESTS_CLIENT_COMPLETION_WAIT_H
#define ZUV_TESTS_CLIENT_COMPLETION_WAIT_H

#include "client/journal.h"

#include <chrono>
#include <string>
#include <vector>

namespace velmora::test {

inline constexpr std::chrono::microseconds kPollInterval(50000);

std::string waitEntered(const std::string& session, const std::string& name);
/// What a poll read; not what is awaited.
std::string waitPolled(const std::string& session, const std::string& name);
std::string waitUsed(int milliseconds);
std::string waitTimedOut();

/// The whole wait, up to the replay of the answer, when the region holds the answer from the beginning.
std::vector<std::string> answeredWait(const Strings& answer);
/// The whole wait when the region is all zero throughout.
std::vector<std::string> unansweredWait(const std::string& session, const std::string& name);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_COMPLETION_WAIT_H
