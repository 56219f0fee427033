// A recording as Python's json module reads it, which is not ours.
#ifndef ZUV_TESTS_TOOLS_TRACE_RECORDING_H
#define ZUV_TESTS_TOOLS_TRACE_RECORDING_H

#include <filesystem>
#include <string>

namespace velmora::trace_test {

/// The value of an expression of Python's, as print() puts it out. In the expression, `lines` are the objects of the
/// file's lines in their order, and `bad` is the number of lines that are no objects; of() selects lines by their kind,
/// and shown() has the members of a line without time, process, thread, duration and kind.
std::string ask(const std::filesystem::path& file, const std::string& expression);

} // namespace velmora::trace_test

#endif // ZUV_TESTS_TOOLS_TRACE_RECORDING_H
