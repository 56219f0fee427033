#include "page_media.h"

#include <utility>

using velmora::Acknowledged;
using velmora::MediaError;
using velmora::MediaErrorKind;
using velmora::Outcome;
using velmora::Title;

namespace {

const char* exceptionName(MediaErrorKind kind) {
    switch (kind) {
    case MediaErrorKind::NotFound:
        return "NotFoundError";
    case MediaErrorKind::Unplayable:
        return "NotSupportedError";
    case MediaErrorKind::Refused:
        return "OperationError";
    case MediaErrorKind::ServiceGone:
        return "NetworkError";
    case MediaErrorKind::TimedOut:
        return "TimeoutError";
    case MediaErrorKind::Cancelled:
        break;
    }
    return "AbortError";
}

velmora::Completion acknowledgeTo(const Reply& reply) {
    return [reply](const Outcome<Acknowledged>& outcome) { outcome ? reply.resolve() : reply.reject(outcome.error()); };
}

velmora::StartCompletion giveUrlTo(const Reply& reply) {
    return [reply](const Outcome<std::string>& url) { url ? reply.resolve(url.value()) : reply.reject(url.error()); };
}

} // namespace

void Reply::reject(const MediaError& error) const {
    const std::string code = error.code.empty() ? "" : error.code + " ";
    reject(exceptionName(error.kind) + (": " + code) + error.detail);
}

void Reply::Promise::settle(const Json::Value* value, const std::string& error) {
    if (const auto settleNow = std::exchange(settleOnce, nullptr))
        settleNow(value, error);
}

Player::Player(const velmora::MediaSession::PostFunction& post)
    : m_session(post, {[this](Title, const auto& definitions) { onDefinitions(definitions); },
                       [this](Title title, const auto& error) { onLost(title, error); }}) {}

void Player::handle(const Json::Value& request, const Reply& reply) {
    static const std::map<std::string, Handler> kHandlers = {
        {"start", &Player::start}, {"preload", &Player::preload}, {"startPreloaded", &Player::startPreloaded},
        {"seek", &Player::seek},   {"stop", &Player::stop},       {"nextEvent", &Player::nextEvent},
    };
    const auto handler = kHandlers.find(request["method"].asString());
    if (handler == kHandlers.end())
        reply.reject("NotSupportedError: no such request");
    else
        (this->*handler->second)(request, reply);
}

void Player::start(const Json::Value& request, const Reply& reply) {
    const bool isAd = request["ad"].asBool();
    const velmora::StartOptions options{request["position"].asDouble(), request.get("option", 1).asInt()};
    const std::string url = request["url"].asString();
    titlesOf(request).playing = isAd ? m_session.startAdvertisement(url, options, giveUrlTo(reply))
                                     : m_session.start(url, options, giveUrlTo(reply));
}

void Player::preload(const Json::Value& request, const Reply& reply) {
    const bool isAd = request["ad"].asBool();
    const velmora::PreloadOptions options{request["position"].asDouble()};
    const std::string url = request["url"].asString();
    titlesOf(request).preloaded = isAd ? m_session.preloadAdvertisement(url, options, acknowledgeTo(reply))
                                       : m_session.preload(url, options, acknowledgeTo(reply));
}

void Player::startPreloaded(const Json::Value& request, const Reply& reply) {
    Titles& titles = titlesOf(request);
    titles.playing = std::exchange(titles.preloaded, Title{});
    m_session.startPreloaded(titles.playing, giveUrlTo(reply));
}

void Player::seek(const Json::Value& request, const Reply& reply) {
    m_session.seek(m_films.playing, request["position"].asDouble(), {}, acknowledgeTo(reply));
}

void Player::stop(const Json::Value& request, const Reply& reply) {
    m_session.stop(titlesOf(request).playing, acknowledgeTo(reply));
}

void Player::nextEvent(const Json::Value&, const Reply& reply) {
    if (m_events.empty()) {
        m_eventRequests.push_back(reply);
        return;
    }
    reply.resolve(m_events.front());
    m_events.pop_front();
}

void Player::deliver(const std::string& type, const Json::Value& detail) {
    Json::Value event;
    event["type"] = type;
    event["detail"] = detail;
    if (m_eventRequests.empty()) {
        m_events.push_back(event);
        return;
    }
    m_eventRequests.front().resolve(event);
    m_eventRequests.pop_front();
}

void Player::onDefinitions(const std::vector<velmora::Definition>& definitions) {
    Json::Value detail(Json::arrayValue);
    for (const auto& definition : definitions) {
        Json::Value& entry = detail.append({});
        entry["name"] = definition.name;
        entry["url"] = definition.url;
    }
    deliver("definitions", detail);
}

void Player::onLost(Title title, const MediaError& error) {
    const bool isAd = title == m_advertisements.playing || title == m_advertisements.preloaded;
    Json::Value detail;
    detail["ad"] = isAd;
    detail["preloaded"] = title == m_films.preloaded || title == m_advertisements.preloaded;
    detail["message"] = error.detail;
    deliver("lost", detail);
}

void PageMedia::handle(const Json::Value& request, const Reply& reply) {
    try {
        dispatch(request, reply);
    } catch (const std::exception& error) { // a value of another type than expected
        reply.reject(std::string("DataError: ") + error.what());
    }
}

void PageMedia::dispatch(const Json::Value& request, const Reply& reply) {
    const std::string method = request["method"].asString();
    if (method == "create") {
        m_players[++m_lastPlayer] = std::make_unique<Player>(m_post);
        reply.resolve(m_lastPlayer);
        return;
    }
    const auto player = m_players.find(request["player"].asInt());
    if (player == m_players.end()) {
        reply.reject("AbortError: the player is closed");
    } else if (method == "close") {
        m_players.erase(player);
        reply.resolve();
    } else {
        player->second->handle(request, reply);
    }
}
