#include "engine/host.h"

#include <poll.h>

#include <algorithm>

namespace velmora::engine_test {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

std::string textOf(MediaErrorKind kind) {
    switch (kind) {
    case MediaErrorKind::NotFound:
        return "not found";
    case MediaErrorKind::Unplayable:
        return "unplayable";
    case MediaErrorKind::Refused:
        return "refused";
    case MediaErrorKind::ServiceGone:
        return "service gone";
    case MediaErrorKind::TimedOut:
        return "timed out";
    case MediaErrorKind::Cancelled:
        return "cancelled";
    }
    return "";
}

} // namespace

std::string textOf(const MediaError& error) {
    return textOf(error.kind) + (error.code.empty() ? "" : " " + error.code) +
           (error.detail.empty() ? "" : " " + error.detail);
}

SessionObserver Host::observer() {
    return {[this](Title title, const std::vector<Definition>& definitions) {
                std::string line = m_names[title] + " has";
                for (const Definition& each : definitions)
                    line += " " + each.name + " " + each.url;
                add(line);
            },
            [this](Title title, const MediaError& error) { add(m_names[title] + " is lost: " + textOf(error)); }};
}

StartCompletion Host::started(const std::string& name) {
    return [this, name](const Outcome<std::string>& outcome) {
        add(name + ": " + (outcome ? outcome.value() : textOf(outcome.error())));
    };
}

Completion Host::done(const std::string& name) {
    return [this, name](const Outcome<Acknowledged>& outcome) {
        add(name + ": " + (outcome ? "done" : textOf(outcome.error())));
    };
}

Title Host::named(const std::string& name, Title title) {
    m_names[title] = name;
    return title;
}

bool Host::await(const std::function<bool()>& condition) {
    const auto deadline = steady_clock::now() + kPatience;
    while (!condition() && steady_clock::now() < deadline)
        runUntil(std::min(deadline, steady_clock::now() + milliseconds(5)));
    return condition();
}

std::string Host::await(const std::string& beginning) {
    const auto find = [&] {
        return std::ranges::find_if(m_lines, [&](const std::string& line) { return line.starts_with(beginning); });
    };
    return await([&] { return find() != m_lines.end(); }) ? *find() : "";
}

void Host::runFor(milliseconds time) {
    const auto deadline = steady_clock::now() + time;
    while (steady_clock::now() < deadline)
        runUntil(deadline);
}

void Host::runUntil(steady_clock::time_point deadline) {
    pollfd waited{m_loop.descriptor(), POLLIN, 0};
    const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
    if (poll(&waited, 1, static_cast<int>(std::max(milliseconds(0), left).count())) > 0)
        m_loop.dispatch();
}

} // namespace velmora::engine_test
