// One line of a recording: a JSON object, built member by member.
#ifndef ZUV_TRACE_RECORDER_JSON_LINE_H
#define ZUV_TRACE_RECORDER_JSON_LINE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora::trace {

/// Nanoseconds of CLOCK_MONOTONIC.
uint64_t now() noexcept;

/// Begins with the members that every line has: time, process, thread and kind. Nothing throws: a line that does not
/// fit into memory is not whole, and is not written. One thread.
class JsonLine {
public:
    explicit JsonLine(const char* kind, uint64_t time = now()) noexcept;
    ~JsonLine();
    JsonLine(const JsonLine&) = delete;
    JsonLine& operator=(const JsonLine&) = delete;

    /// Members appear in the order of these calls. Names need no escaping.
    JsonLine& number(const char* name, int64_t value) noexcept;
    JsonLine& isTrue(const char* name) noexcept;
    /// @param value any bytes. A byte that is not part of valid UTF-8 becomes the lone surrogate U+DCxx.
    JsonLine& text(const char* name, std::string_view value) noexcept;
    template <typename Texts>
    JsonLine& texts(const char* name, const Texts& values) noexcept {
        beginTexts(name);
        for (const auto& value : values)
            addText(value);
        return endTexts();
    }

    /// A list of texts, one by one.
    JsonLine& beginTexts(const char* name) noexcept;
    JsonLine& addText(std::string_view value) noexcept;
    JsonLine& endTexts() noexcept;

    uint64_t time() const { return m_time; }

    /// Adds the line's end, once, after the last member. @return the whole line; empty when it did not fit into memory.
    std::string_view finish() noexcept;

private:
    void member(const char* name) noexcept;
    void quoted(std::string_view bytes) noexcept;
    void escaped(unsigned char byte) noexcept;
    void digits(int64_t value) noexcept;
    void raw(std::string_view bytes) noexcept;
    bool makeRoom(std::size_t size) noexcept;

    static constexpr std::size_t kNearby = 2048; ///< enough for most lines

    uint64_t m_time;
    bool m_isWhole = true;
    std::size_t m_size = 0;
    std::size_t m_capacity = kNearby;
    char m_nearby[kNearby];
    char* m_bytes; ///< m_nearby, or allocated when that is too small
};

} // namespace velmora::trace

#endif // ZUV_TRACE_RECORDER_JSON_LINE_H
