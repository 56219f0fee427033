#include "client/log_line.h"

#include "client/journal.h"

#include <cstdio>

namespace velmora::test {

std::string describeLevel(std::uint32_t word0, std::uint32_t word1, std::uint32_t word2) {
    if (word0 >> 16 == 0x5F && word1 == 0 && word2 == 0)
        return "level " + std::to_string(word0 & 0xFFFF);
    return "words " + std::to_string(word0) + " " + std::to_string(word1) + " " + std::to_string(word2);
}

std::string describeOrdinaryLine(const std::string& level, const std::string& tag, const std::string& file,
                                 const std::string& function, const std::string& format, const std::string& text) {
    return "log " + level + " [" + tag + "] " + file + " " + function + "() " + quoted(format) + " gives " +
           quoted(text);
}

std::string describeTraceLine(const std::string& level, const std::string& file, const std::string& first,
                              const std::string& last, const std::string& format) {
    return "log " + level + " trace " + file + " " + first + " " + last + "() " + quoted(format);
}

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

} // namespace velmora::test
