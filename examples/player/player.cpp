#include "player.h"

#include "media_comparison.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <utility>

using velmora::ZUVMediaProxyInterface;
using velmora::ZUVMediaProxyManagerInterface;
namespace State = velmora::ZUVMediaProxyState;

namespace {

// A medium on a slow network may take a second. If a medium cannot be played, there is no notification at all.
constexpr std::chrono::seconds kAnswerLimit{5};
constexpr std::chrono::milliseconds kPlayAWhile{500}; // definitions follow a start after 400 ms
constexpr std::chrono::milliseconds kPollInterval{5};

std::string stateName(int state) {
    switch (state) {
    case State::Idle:
        return "Idle";
    case State::Starting:
        return "Starting";
    default:
        return "Started";
    }
}

const char* nameOf(Notification::Medium medium) {
    return medium == Notification::Medium::MainVideo ? "main video" : "advertisement";
}

std::shared_ptr<ZUVMediaProxyInterface> createProxy(ZUVMediaProxyManagerInterface& manager, bool synchronous) {
    auto proxy = synchronous ? manager.createNewZUVMediaProxySync() : manager.createNewZUVMediaProxy();
    if (!proxy || proxy->id().empty())
        throw std::runtime_error("the media service does not answer; is there a bus, and a service on it?");
    return proxy;
}

} // namespace

Player::Player(ZUVMediaProxyManagerInterface& manager, const Timeline& timeline, bool synchronous)
    : m_timeline(timeline) {
    manager.setZUVCallback(&NotificationQueue::onMainVideoChanged);
    manager.setZUVAdCallback(&NotificationQueue::onAdvertisementChanged);
    say(synchronous ? "creates a proxy, synchronously" : "creates a proxy");
    m_proxy = createProxy(manager, synchronous);
    m_timeline.show("library", "proxy " + m_proxy->id());
}

void Player::play(const Programme& programme) {
    playMainVideo(programme.mainVideo);
    playAdvertisement(programme.advertisement);
    seek(programme.seekSeconds);
    stop();
    preload(programme.nextTitle);
    startPreloaded(programme.nextTitle);
    stop();
}

void Player::playMainVideo(const std::string& medium) {
    say("starts the main video " + medium);
    m_proxy->start(medium, 1);
    const Notification url = awaitNotification(Notification::Medium::MainVideo, "url", medium);
    verify(url.value, medium);
    awaitNotification(Notification::Medium::MainVideo, "definitions", medium);
}

void Player::playAdvertisement(const std::string& medium) {
    say("advertisement break: starts " + medium);
    m_proxy->startAd(medium, 1);
    const Notification url = awaitNotification(Notification::Medium::Advertisement, "url", medium);
    verify(url.value, medium);
    playAWhile();
    m_proxy->stopAd();
    say("stopped the advertisement");
}

void Player::seek(double seconds) {
    char position[32];
    std::snprintf(position, sizeof position, "%.3f", seconds);
    say(std::string("seeks the main video to ") + position + " s");
    m_proxy->seek(seconds, "");
    playAWhile();
}

void Player::stop() {
    m_proxy->stop();
    say("stopped the main video; state " + stateName(m_proxy->getState()));
}

// The answer to a preload makes no callback; it only sets the local URL.
void Player::preload(const std::string& medium) {
    say("preloads the next title " + medium);
    m_proxy->preload(0.0, medium, "", "");
    const auto deadline = Timeline::Clock::now() + kAnswerLimit;
    while (m_proxy->localURL().empty()) {
        if (Timeline::Clock::now() > deadline)
            throw std::runtime_error("no answer to the preload of " + medium + "; the log above has the reason");
        std::this_thread::sleep_for(kPollInterval);
    }
    m_timeline.show("service", "preloaded; local URL " + m_proxy->localURL());
}

void Player::startPreloaded(const std::string& medium) {
    say("starts what was preloaded (option 0)");
    m_proxy->start("", 0);
    const Notification url = awaitNotification(Notification::Medium::MainVideo, "url", medium);
    awaitNotification(Notification::Medium::MainVideo, "definitions", medium);
    verify(url.value, medium);
    playAWhile();
}

Notification Player::awaitNotification(Notification::Medium medium, const std::string& changed,
                                       const std::string& subject) {
    const auto isAwaited = [&](const Notification& notification) {
        return notification.proxyId == m_proxy->id() && notification.medium == medium &&
               notification.changed == changed;
    };
    const auto deadline = Timeline::Clock::now() + kAnswerLimit;
    auto notification = std::find_if(m_shown.begin(), m_shown.end(), isAwaited);
    while (notification == m_shown.end()) {
        if (!showNextNotification(deadline))
            throw std::runtime_error("no " + changed + " for " + subject +
                                     ": the service could not play it; the log above has the reason");
        notification = std::find_if(m_shown.begin(), m_shown.end(), isAwaited);
    }
    Notification awaited = std::move(*notification);
    m_shown.erase(notification);
    return awaited;
}

bool Player::showNextNotification(Timeline::Clock::time_point deadline) {
    auto notification = NotificationQueue::instance().take(deadline);
    if (!notification)
        return false;
    m_timeline.show(notification->when, "service",
                    std::string(nameOf(notification->medium)) + ": " + notification->changed + " " +
                        notification->value);
    m_shown.push_back(std::move(*notification));
    return true;
}

void Player::playAWhile() {
    const auto end = Timeline::Clock::now() + kPlayAWhile;
    while (showNextNotification(end)) {
    }
}

void Player::say(const std::string& what) {
    const auto now = Timeline::Clock::now();
    while (showNextNotification(now)) {
    }
    m_timeline.show(now, "player", what);
}

void Player::verify(const std::string& localUrl, const std::string& medium) {
    const std::uint64_t bytes = fetchAndCompare(localUrl, medium);
    say("fetched " + std::to_string(bytes) + " bytes from the local URL: the medium's own");
}
