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

// A medium on a slow network may take a second; a medium that cannot be played gives no news at all.
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

const char* nameOf(News::Medium medium) {
    return medium == News::Medium::MainVideo ? "main video" : "advertisement";
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
    manager.setZUVCallback(&NewsQueue::onMainVideoNews);
    manager.setZUVAdCallback(&NewsQueue::onAdvertisementNews);
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
    const News url = awaitNews(News::Medium::MainVideo, "url", medium);
    verify(url.value, medium);
    awaitNews(News::Medium::MainVideo, "definitions", medium);
}

void Player::playAdvertisement(const std::string& medium) {
    say("advertisement break: starts " + medium);
    m_proxy->startAd(medium, 1);
    const News url = awaitNews(News::Medium::Advertisement, "url", medium);
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

// The answer to a preload is no news: it shows as a local URL only.
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
    const News url = awaitNews(News::Medium::MainVideo, "url", medium);
    awaitNews(News::Medium::MainVideo, "definitions", medium);
    verify(url.value, medium);
    playAWhile();
}

News Player::awaitNews(News::Medium medium, const std::string& changed, const std::string& subject) {
    const auto isAwaited = [&](const News& news) {
        return news.proxyId == m_proxy->id() && news.medium == medium && news.changed == changed;
    };
    const auto deadline = Timeline::Clock::now() + kAnswerLimit;
    auto news = std::find_if(m_shown.begin(), m_shown.end(), isAwaited);
    while (news == m_shown.end()) {
        if (!showNextNews(deadline))
            throw std::runtime_error("no " + changed + " for " + subject +
                                     ": the service could not play it; the log above has the reason");
        news = std::find_if(m_shown.begin(), m_shown.end(), isAwaited);
    }
    News awaited = std::move(*news);
    m_shown.erase(news);
    return awaited;
}

bool Player::showNextNews(Timeline::Clock::time_point deadline) {
    auto news = NewsQueue::instance().take(deadline);
    if (!news)
        return false;
    m_timeline.show(news->when, "service",
                    std::string(nameOf(news->medium)) + ": " + news->changed + " " + news->value);
    m_shown.push_back(std::move(*news));
    return true;
}

void Player::playAWhile() {
    const auto end = Timeline::Clock::now() + kPlayAWhile;
    while (showNextNews(end)) {
    }
}

void Player::say(const std::string& what) {
    const auto now = Timeline::Clock::now();
    while (showNextNews(now)) {
    }
    m_timeline.show(now, "player", what);
}

void Player::verify(const std::string& localUrl, const std::string& medium) {
    const std::uint64_t bytes = fetchAndCompare(localUrl, medium);
    say("fetched " + std::to_string(bytes) + " bytes from the local URL: the medium's own");
}
