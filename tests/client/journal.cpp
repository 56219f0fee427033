#include "client/journal.h"

#include "support/service_protocol.h"
#include "support/text.h"

#include <algorithm>
#include <cstdarg>

namespace velmora::test {

namespace {

thread_local int ownWork = 0;

} // namespace

OwnWork::OwnWork() {
    ++ownWork;
}

OwnWork::~OwnWork() {
    --ownWork;
}

bool isOwnWork() {
    return ownWork > 0;
}

void Journal::add(std::string line) {
    const desktop::MutexLock lock(m_mutex);
    m_lines.emplace_back(std::move(line), std::this_thread::get_id());
}

void Journal::clear() {
    const desktop::MutexLock lock(m_mutex);
    m_lines.clear();
}

std::vector<std::string> Journal::lines() const {
    return linesOf("");
}

std::vector<std::string> Journal::linesOf(const std::string& beginning) const {
    const desktop::MutexLock lock(m_mutex);
    std::vector<std::string> result;
    for (const auto& [line, thread] : m_lines)
        if (line.starts_with(beginning))
            result.push_back(line);
    return result;
}

std::size_t Journal::count(const std::string& line) const {
    const std::vector<std::string> all = lines();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), line));
}

std::thread::id Journal::threadOf(const std::string& line) const {
    const desktop::MutexLock lock(m_mutex);
    const auto found =
        std::find_if(m_lines.begin(), m_lines.end(), [&](const auto& entry) { return entry.first == line; });
    return found == m_lines.end() ? std::thread::id() : found->second;
}

Journal& journal() {
    static Journal instance;
    return instance;
}

std::string asText(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '\n')
            result += "\\n";
        else if (c == '"')
            result += "\\\"";
        else
            result += c;
    }
    return result + "\"";
}

std::string listed(const Strings& values) {
    std::string result = std::to_string(values.size()) + " [";
    for (std::size_t i = 0; i < values.size(); ++i)
        result += (i == 0 ? "" : ", ") + quoted(values[i]);
    return result + "]";
}

std::string replaced(std::string text, const std::string& part, const std::string& by) {
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + by.size()))
        text.replace(at, part.size(), by);
    return text;
}

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

namespace {

__attribute__((format(printf, 4, 0))) std::string ordinaryLine(int level, const char* file, const char* function,
                                                               const char* format, va_list arguments) {
    return describeOrdinaryLine(describeLevel(0x5Fu << 16 | static_cast<unsigned>(level), 0, 0), "B-LOG", file,
                                function, format, formatted(format, arguments));
}

} // namespace

std::string entryLog(int level, const char* function, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string line = ordinaryLine(level, "zuv_media_manager_interface_impl.cpp", function, format, arguments);
    va_end(arguments);
    return line;
}

std::string managerLog(int level, const char* function, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string line = ordinaryLine(level, "zuv_media_proxy_manager.cpp", function, format, arguments);
    va_end(arguments);
    return line;
}

std::string objectLog(int level, const char* function, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string line = ordinaryLine(level, "zuv_media_proxy_object.cpp", function, format, arguments);
    va_end(arguments);
    return line;
}

namespace {

std::string traceLine(const char* format, const std::string& function) {
    return describeTraceLine(describeLevel(0x5Fu << 16 | 5000, 0, 0), "zuv_media_proxy_object.cpp", function, function,
                             format);
}

} // namespace

std::string traceIn(const std::string& function) {
    return traceLine("[TRACE -> %s(IN)] %s:%d:%s() \n", function);
}

std::string traceOut(const std::string& function) {
    return traceLine("[TRACE <- %s(OUT)] %s:%d:%s() \n", function);
}

std::string busLine(const std::string& operation) {
    return "bus: " + operation;
}

std::string published(const std::string& topic, const Strings& values) {
    return busLine("publish on " + topic + " " + listed(values));
}

std::string command(const Fields& entries) {
    Strings values(11);
    for (const auto& [index, value] : entries)
        values.at(index) = value;
    return published(kCommandTopic, values);
}

std::vector<std::string> neutralEventPublished() {
    return {managerLog(4000, "initializeZUVEvent", "initializeZUVEvent.\n"),
            published(kEventTopic, {"unknown", "", "", "", "", "", "", "", "", ""})};
}

std::string slept(std::chrono::microseconds duration) {
    return "sleep " + std::to_string(duration.count()) + " us";
}

std::string waited(std::chrono::nanoseconds untilDeadline) {
    return "wait until a deadline " + std::to_string(untilDeadline.count()) + " ns ahead";
}

std::string notifiedAll() {
    return "notify all";
}

std::string locked(const std::string& mutex) {
    return "lock " + mutex;
}

std::string unlocked(const std::string& mutex) {
    return "unlock " + mutex;
}

std::string calledBack(const std::string& callback, const std::string& id, const std::string& key,
                       const std::string& value) {
    return "callback " + callback + " " + listed({id, key, value});
}

std::vector<std::string> joined(const std::vector<std::vector<std::string>>& parts) {
    std::vector<std::string> result;
    for (const auto& part : parts)
        result.insert(result.end(), part.begin(), part.end());
    return result;
}

} // namespace velmora::test
