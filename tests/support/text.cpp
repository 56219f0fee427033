#include "support/text.h"

#include <cctype>
#include <cstddef>
#include <cstdio>

namespace velmora {

std::string camelCase(const std::string& name) {
    std::string result;
    bool begins = true;
    for (const char letter : name) {
        if (letter != '-')
            result += begins ? static_cast<char>(std::toupper(static_cast<unsigned char>(letter))) : letter;
        begins = letter == '-';
    }
    return result;
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

} // namespace velmora
