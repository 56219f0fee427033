#include "base/quoted_text.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace velmora::desktop {
namespace {

struct Character {
    char32_t code;
    std::size_t bytes;
};

struct CodeRange {
    char32_t first;
    char32_t last;
};

/// Characters beyond ASCII that are not seen: controls, invisible formatting, line ends, the directions of text, and
/// what no text may contain.
constexpr std::array<CodeRange, 12> kUnseen{{{0x80, 0xA0},
                                             {0xAD, 0xAD},
                                             {0x61C, 0x61C},
                                             {0x180E, 0x180E},
                                             {0x2000, 0x200F},
                                             {0x2028, 0x202F},
                                             {0x205F, 0x206F},
                                             {0x3000, 0x3000},
                                             {0xE000, 0xF8FF},
                                             {0xFE00, 0xFE0F},
                                             {0xFEFF, 0xFEFF},
                                             {0xFFF0, 0xFFFF}}};
constexpr char32_t kFirstUnassignedPlane = 0xE0000; // tags, variation selectors, private use

/// The length of a character's UTF-8 form, by its first byte; 0 when no character begins with it.
constexpr std::size_t lengthOf(unsigned char first) {
    return first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
}

/// Whether a character of so many bytes is in its shortest form, no surrogate, and in the range of Unicode.
constexpr bool isValid(char32_t code, std::size_t bytes) {
    constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    return code >= kSmallest.at(bytes) && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

/// The character at the beginning of a text that is not empty; nullopt when its first byte is not part of UTF-8.
std::optional<Character> firstCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = lengthOf(first);
    if (length == 0 || length > text.size())
        return std::nullopt;
    char32_t code = length == 1 ? first : first & (0x7FU >> length);
    for (const char next : text.substr(1, length - 1)) {
        const auto byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0U) != 0x80)
            return std::nullopt;
        code = code << 6U | (byte & 0x3FU);
    }
    if (!isValid(code, length))
        return std::nullopt;
    return Character{code, length};
}

bool isSeen(char32_t code) {
    if (code < 0x80)
        return code >= 0x20 && code != 0x7F;
    const auto contains = [code](const CodeRange& range) { return range.first <= code && code <= range.last; };
    return code < kFirstUnassignedPlane && std::ranges::none_of(kUnseen, contains);
}

std::string escaped(char32_t code) {
    switch (code) {
    case U'\n':
        return "\\n";
    case U'\r':
        return "\\r";
    case U'\t':
        return "\\t";
    case U'"':
        return "\\\"";
    case U'\\':
        return "\\\\";
    default:
        const auto number = static_cast<unsigned>(code);
        return number < 0x80      ? fmt::format("\\x{:02x}", number)
               : number < 0x10000 ? fmt::format("\\u{:04x}", number)
                                  : fmt::format("\\U{:08x}", number);
    }
}

} // namespace

std::string inQuotes(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const std::optional<Character> character = firstCharacter(text);
        const std::size_t bytes = character ? character->bytes : 1;
        if (!character)
            result += fmt::format("\\x{:02x}", static_cast<unsigned char>(text.front()));
        else if (!isSeen(character->code) || character->code == U'"' || character->code == U'\\')
            result += escaped(character->code);
        else
            result += text.substr(0, bytes);
        text.remove_prefix(bytes);
    }
    return result + '"';
}

} // namespace velmora::desktop
