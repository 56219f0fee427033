// How a log line reads in the journal: the one form that the recording log writes and that expectations are
// made in.
#ifndef ZUV_TESTS_CLIENT_LOG_LINE_H
#define ZUV_TESTS_CLIENT_LOG_LINE_H

#include <cstdarg>
#include <cstdint>
#include <string>

namespace velmora::test {

/// "level 1000" for a descriptor of the client's module, otherwise the three words as they are.
std::string describeLevel(std::uint32_t word0, std::uint32_t word1, std::uint32_t word2);

/// A line that begins with the common beginning; `format` and `text` are what follows it.
std::string describeOrdinaryLine(const std::string& level, const std::string& tag, const std::string& file,
                                 const std::string& function, const std::string& format, const std::string& text);

/// A line of a scope trace, which names its function first and last.
std::string describeTraceLine(const std::string& level, const std::string& file, const std::string& first,
                              const std::string& last, const std::string& format);

/// What printf would put out; leaves `arguments` used up.
__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, va_list arguments);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_LOG_LINE_H
