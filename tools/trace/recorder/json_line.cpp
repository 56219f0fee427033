#include "trace/recorder/json_line.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace velmora::trace {
namespace {

/// Asked for once in a process and once in a thread: they are system calls, and every line names both.
int process = 0;
constinit thread_local int thread = 0;

void forgetAfterFork() {
    process = 0;
    thread = 0;
}

[[maybe_unused]] const int kForkIsWatched = pthread_atfork(nullptr, nullptr, forgetAfterFork);

int currentProcess() {
    if (process == 0)
        process = getpid();
    return process;
}

int currentThread() {
    if (thread == 0)
        thread = gettid();
    return thread;
}

bool isPlain(unsigned char byte) {
    return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0U) == 0x80;
}

/// The size of the valid UTF-8 sequence of more than one byte that `bytes` begin with; 0 for none.
std::size_t sequenceAt(std::string_view bytes) {
    const auto at = [bytes](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    const unsigned char first = at(0);
    const std::size_t size = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (size == 0 || bytes.size() < size)
        return 0;
    for (std::size_t index = 1; index < size; ++index)
        if (!isContinuation(at(index)))
            return 0;
    const unsigned char second = at(1);
    const bool isOverlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isSurrogate = first == 0xED && second >= 0xA0;
    const bool isBeyondUnicode = first == 0xF4 && second >= 0x90;
    return isOverlong || isSurrogate || isBeyondUnicode ? 0 : size;
}

/// The size of what `bytes` begin with and a JSON string takes unchanged.
std::size_t unchangedIn(std::string_view bytes) {
    std::size_t size = 0;
    while (size < bytes.size()) {
        if (isPlain(static_cast<unsigned char>(bytes[size]))) {
            ++size;
            continue;
        }
        const std::size_t sequence = sequenceAt(bytes.substr(size));
        if (sequence == 0)
            break;
        size += sequence;
    }
    return size;
}

} // namespace

uint64_t now() noexcept {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1'000'000'000U + static_cast<uint64_t>(time.tv_nsec);
}

// The buffer is left as it is: clearing it would take longer than most lines.
// cppcheck-suppress uninitMemberVar
JsonLine::JsonLine(const char* kind, uint64_t time) noexcept // NOLINT(cppcoreguidelines-pro-type-member-init)
    : m_time(time), m_bytes(m_nearby) {
    raw("{\"t\":");
    digits(static_cast<int64_t>(time));
    number("p", currentProcess());
    number("th", currentThread());
    text("k", kind);
}

JsonLine::~JsonLine() {
    if (m_bytes != m_nearby)
        std::free(m_bytes);
}

JsonLine& JsonLine::number(const char* name, int64_t value) noexcept {
    member(name);
    digits(value);
    return *this;
}

JsonLine& JsonLine::isTrue(const char* name) noexcept {
    member(name);
    raw("true");
    return *this;
}

JsonLine& JsonLine::text(const char* name, std::string_view value) noexcept {
    member(name);
    quoted(value);
    return *this;
}

JsonLine& JsonLine::beginTexts(const char* name) noexcept {
    member(name);
    raw("[");
    return *this;
}

JsonLine& JsonLine::addText(std::string_view value) noexcept {
    if (m_bytes[m_size - 1] != '[')
        raw(",");
    quoted(value);
    return *this;
}

JsonLine& JsonLine::endTexts() noexcept {
    raw("]");
    return *this;
}

std::string_view JsonLine::finish() noexcept {
    raw("}\n");
    return m_isWhole ? std::string_view(m_bytes, m_size) : std::string_view();
}

void JsonLine::member(const char* name) noexcept {
    raw(",\"");
    raw(name);
    raw("\":");
}

void JsonLine::quoted(std::string_view bytes) noexcept {
    raw("\"");
    while (!bytes.empty()) {
        const std::size_t unchanged = unchangedIn(bytes);
        raw(bytes.substr(0, unchanged));
        bytes.remove_prefix(unchanged);
        if (bytes.empty())
            break;
        escaped(static_cast<unsigned char>(bytes.front()));
        bytes.remove_prefix(1);
    }
    raw("\"");
}

void JsonLine::escaped(unsigned char byte) noexcept {
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    switch (byte) {
    case '"':
        return raw("\\\"");
    case '\\':
        return raw("\\\\");
    case '\n':
        return raw("\\n");
    case '\t':
        return raw("\\t");
    default:
        raw(byte < 0x20 ? "\\u00" : "\\udc");
        raw(kHexDigits.substr(byte >> 4U, 1));
        raw(kHexDigits.substr(byte & 0xFU, 1));
    }
}

void JsonLine::digits(int64_t value) noexcept {
    std::array<char, 24> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    raw({text.data(), static_cast<std::size_t>(end - text.data())});
}

void JsonLine::raw(std::string_view bytes) noexcept {
    if (!makeRoom(bytes.size()))
        return;
    std::memcpy(m_bytes + m_size, bytes.data(), bytes.size());
    m_size += bytes.size();
}

bool JsonLine::makeRoom(std::size_t size) noexcept {
    if (size <= m_capacity - m_size)
        return true;
    const bool isNearby = m_bytes == m_nearby;
    const std::size_t capacity = 2 * std::max(m_capacity, size);
    void* const grown = m_isWhole ? std::realloc(isNearby ? nullptr : m_bytes, capacity) : nullptr;
    m_isWhole = grown != nullptr;
    if (!m_isWhole)
        return false;
    if (isNearby)
        std::memcpy(grown, m_bytes, m_size);
    m_bytes = static_cast<char*>(grown);
    m_capacity = capacity;
    return true;
}

} // namespace velmora::trace
