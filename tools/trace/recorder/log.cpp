// The platform's log, as the client and others write it.
#include "csp_debug.h"
#include "trace/recorder/recorder.h"
#include "trace/recorder/replaced_function.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace velmora::trace {
namespace {

/// What the line was checked for that its thread writes next.
struct Checked {
    bool isKnown;
    uint32_t word; ///< the module in the upper half, the level in the lower
};

constinit thread_local Checked checked{};

constinit Replaced<int(const CspDebugLevel*)> check("cspDebugCheckLevelGetFrameAndChunk");
constinit Replaced<void(const char*, ...)> output("cspDebugOutput0");

/// A line of printf. When it is too long for the stack and for memory, or printf refuses the format, the format itself.
class FormattedText {
public:
    __attribute__((format(printf, 2, 0))) FormattedText(const char* format, va_list arguments) noexcept
        : m_text(format) {
        va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(m_nearby.data(), m_nearby.size(), format, arguments);
        const auto size = static_cast<std::size_t>(length) + 1;
        if (length >= 0 && size <= m_nearby.size())
            m_text = m_nearby.data();
        else if (length >= 0 && (m_allocated = static_cast<char*>(std::malloc(size))) != nullptr) {
            std::vsnprintf(m_allocated, size, format, again);
            m_text = m_allocated;
        }
        va_end(again);
    }
    ~FormattedText() { std::free(m_allocated); }
    FormattedText(const FormattedText&) = delete;
    FormattedText& operator=(const FormattedText&) = delete;

    const char* get() const { return m_text; }

private:
    const char* m_text;
    char* m_allocated = nullptr;
    std::array<char, 1024> m_nearby; // written before it is read
};

void recordLogLine(std::string_view text) {
    const Unnoticed recorded;
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    JsonLine line("log");
    line.text("text", text);
    if (checked.isKnown) {
        line.number("level", checked.word & 0xFFFFU);
        line.number("module", checked.word >> 16U);
    }
    checked.isKnown = false;
    recording().write(line);
}

} // namespace

int checkLevel(const CspDebugLevel* level) ZUV_REPLACES("cspDebugCheckLevelGetFrameAndChunk");
int checkLevel(const CspDebugLevel* level) {
    const int isLogged = check.original()(level);
    checked = {isLogged != 0, level->words[0]};
    return isLogged;
}

void outputLine(const char* format, ...) ZUV_REPLACES("cspDebugOutput0") __attribute__((format(printf, 1, 2)));
void outputLine(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const FormattedText text(format, arguments);
    va_end(arguments);
    recordLogLine(text.get());
    output.original()("%s", text.get());
}

} // namespace velmora::trace
