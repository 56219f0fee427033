// Text that tests compare: names, and what printf would put out.
#ifndef ZUV_TESTS_SUPPORT_TEXT_H
#define ZUV_TESTS_SUPPORT_TEXT_H

#include <cstdarg>
#include <string>

namespace velmora {

/// "answer-delayed" becomes "AnswerDelayed", as tests are named.
std::string camelCase(const std::string& name);

/// What printf would put out; leaves `arguments` used up.
__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, va_list arguments);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_TEXT_H
