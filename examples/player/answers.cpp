#include "answers.h"

#include "notifications.h"

#include <cstddef>
#include <stdexcept>
#include <utility>

namespace {

// Positions in an event. One that a client publishes itself has no code.
constexpr std::size_t kName = 0;
constexpr std::size_t kCode = 1;
constexpr std::size_t kObject = 3;
constexpr std::size_t kDetail = 8;
constexpr std::size_t kKind = 9;
constexpr std::size_t kEntries = 11;

} // namespace

Answers::Answers() {
    if (m_bus.initialize() < 0 || m_bus.start() < 0)
        throw std::runtime_error("the media service does not answer: there is no bus");
}

void Answers::onZUVEvent(std::vector<std::string>& event) {
    if (event.size() != kEntries || event[kCode].empty())
        return;
    const bool failed = event[kCode] != "200";
    if (!failed && event[kName] != "seeked" && event[kName] != "stopped")
        return;
    const auto medium =
        event[kKind] == "advertisement" ? Notification::Medium::Advertisement : Notification::Medium::MainVideo;
    NotificationQueue::instance().append({Timeline::Clock::now(), medium, event[kObject],
                                          failed ? "failed" : event[kName],
                                          failed ? event[kCode] + " " + event[kDetail] : ""});
}
