#include "player.h"

#include "media_comparison.h"
#include "viewer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <utility>

using velmora::ZUVMediaProxyInterface;
using velmora::ZUVMediaProxyManagerInterface;

namespace {

// A medium on a slow network may take a second. A service that hangs does not answer at all.
constexpr std::chrono::seconds kAnswerLimit{5};
constexpr std::chrono::milliseconds kPlayAWhile{500}; // definitions follow a start after 400 ms
constexpr std::chrono::milliseconds kPollInterval{5};

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
    note(synchronous ? "creates a proxy, synchronously" : "creates a proxy");
    m_proxy = createProxy(manager, synchronous);
    m_timeline.show("the media service has created " + m_proxy->id());
}

void Player::play(const Programme& programme) {
    playMainVideo(programme);
    playAdvertisement(programme);
    seek(programme);
    stop();
    preload(programme.nextTitle);
    startPreloaded(programme.nextTitle);
    stop();
}

void Player::playMainVideo(const Programme& programme) {
    const std::string& medium = programme.mainVideo;
    note("starts the main video " + medium);
    m_proxy->start(medium, 1);
    const Notification url = awaitNotification(Notification::Medium::MainVideo, "url", medium);
    verify("main video", url.value, medium);
    awaitNotification(Notification::Medium::MainVideo, "definitions", medium);
    takePicture(programme.camera, "main video", 0.0, url.value);
    if (programme.viewer.empty())
        return;
    m_timeline.show("main video: shown by " + programme.viewer);
    runWith({url.value}, programme.viewer, "viewer");
}

void Player::playAdvertisement(const Programme& programme) {
    const std::string& medium = programme.advertisement;
    note("advertisement break: starts " + medium);
    m_proxy->startAd(medium, 1);
    const Notification url = awaitNotification(Notification::Medium::Advertisement, "url", medium);
    verify("advertisement", url.value, medium);
    takePicture(programme.camera, "advertisement", 0.0, url.value);
    playAWhile();
    note("stops the advertisement");
    m_proxy->stopAd();
    awaitNotification(Notification::Medium::Advertisement, "stopped", medium);
}

void Player::seek(const Programme& programme) {
    char position[32];
    std::snprintf(position, sizeof position, "%.3f s", programme.seekSeconds);
    note(std::string("seeks the main video to ") + position);
    m_proxy->seek(programme.seekSeconds, "");
    awaitNotification(Notification::Medium::MainVideo, "seeked", position);
    m_timeline.show(std::string("main video: sought to ") + position);
    takePicture(programme.camera, std::string("main video at ") + position, programme.seekSeconds, m_proxy->localURL());
    playAWhile();
}

void Player::stop() {
    note("stops the main video");
    m_proxy->stop();
    awaitNotification(Notification::Medium::MainVideo, "stopped", "the main video");
}

// The answer to a preload makes no callback; it only sets the local URL.
void Player::preload(const std::string& medium) {
    note("preloads the next title " + medium);
    m_proxy->preload(0.0, medium, "", "");
    const auto deadline = Timeline::Clock::now() + kAnswerLimit;
    while (m_proxy->localURL().empty()) {
        if (Timeline::Clock::now() > deadline)
            throw std::runtime_error("no answer to the preload of " + medium + " from the media service");
        noteNextNotification(Timeline::Clock::now() + kPollInterval);
    }
    m_timeline.show("next title: preloaded, not started");
}

void Player::startPreloaded(const std::string& medium) {
    note("starts what was preloaded (option 0)");
    m_proxy->start("", 0);
    const Notification url = awaitNotification(Notification::Medium::MainVideo, "url", medium);
    awaitNotification(Notification::Medium::MainVideo, "definitions", medium);
    verify("next title", url.value, medium);
    playAWhile();
}

Notification Player::awaitNotification(Notification::Medium medium, const std::string& changed,
                                       const std::string& subject) {
    const auto isAwaited = [&](const Notification& notification) {
        return notification.proxyId == m_proxy->id() && notification.medium == medium &&
               notification.changed == changed;
    };
    const auto deadline = Timeline::Clock::now() + kAnswerLimit;
    auto notification = std::find_if(m_noted.begin(), m_noted.end(), isAwaited);
    while (notification == m_noted.end()) {
        if (!noteNextNotification(deadline))
            throw std::runtime_error("no " + changed + " for " + subject + ": the media service does not answer");
        notification = std::find_if(m_noted.begin(), m_noted.end(), isAwaited);
    }
    Notification awaited = std::move(*notification);
    m_noted.erase(notification);
    return awaited;
}

bool Player::noteNextNotification(Timeline::Clock::time_point deadline) {
    auto notification = NotificationQueue::instance().take(deadline);
    if (!notification)
        return false;
    const std::string what = std::string(nameOf(notification->medium)) + ": " + notification->changed +
                             (notification->value.empty() ? "" : " " + notification->value);
    m_timeline.note(notification->when, "service", what);
    if (notification->changed == "failed" && m_proxy && notification->proxyId == m_proxy->id())
        throw std::runtime_error(what);
    m_noted.push_back(std::move(*notification));
    return true;
}

void Player::playAWhile() {
    const auto end = Timeline::Clock::now() + kPlayAWhile;
    while (noteNextNotification(end)) {
    }
}

void Player::note(const std::string& what) {
    const auto now = Timeline::Clock::now();
    while (noteNextNotification(now)) {
    }
    m_timeline.note(now, "player", what);
}

void Player::takePicture(const std::string& camera, const std::string& title, double seconds,
                         const std::string& localUrl) {
    if (camera.empty())
        return;
    note("takes a picture of the " + title);
    runWith({title, std::to_string(seconds), localUrl}, camera, "camera");
}

void Player::verify(const std::string& name, const std::string& localUrl, const std::string& medium) {
    const std::uint64_t bytes = fetchAndCompare(localUrl, medium);
    m_timeline.show(name + ": fetched " + std::to_string(bytes) +
                    " bytes from its local URL, all of them the medium's");
}
