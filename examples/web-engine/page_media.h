// Carries out what a page asks of media_proxy.js, with the engine kit. Knows JSON and no web engine.
#ifndef ZUV_EXAMPLES_WEB_ENGINE_PAGE_MEDIA_H
#define ZUV_EXAMPLES_WEB_ENGINE_PAGE_MEDIA_H

#include "zuv_media_session.h"

#include <json/json.h>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Settles the promise that the page got for a request. Copies stand for the same promise; when the last one goes
/// before it was settled, as when a player is closed, it is rejected with AbortError.
class Reply {
public:
    /// Takes the value to resolve with, or null and the text to reject with: the name of a DOMException, a colon, and
    /// what happened.
    using SettleFunction = std::function<void(const Json::Value* value, const std::string& error)>;

    explicit Reply(SettleFunction settle) : m_promise(std::make_shared<Promise>(std::move(settle))) {}

    void resolve(const Json::Value& value = {}) const { m_promise->settle(&value, ""); }
    void reject(const std::string& error) const { m_promise->settle(nullptr, error); }
    void reject(const velmora::MediaError& error) const;

private:
    struct Promise {
        explicit Promise(SettleFunction function) : settleOnce(std::move(function)) {}
        ~Promise() { settle(nullptr, "AbortError: the player is closed"); }
        Promise(const Promise&) = delete;
        Promise& operator=(const Promise&) = delete;
        void settle(const Json::Value* value, const std::string& error);

        SettleFunction settleOnce; ///< empty afterwards
    };

    std::shared_ptr<Promise> m_promise;
};

/// What one MediaProxy of a page stands for.
class Player {
public:
    explicit Player(const velmora::MediaSession::PostFunction& post);

    /// Carries out a request other than "create" and "close".
    void handle(const Json::Value& request, const Reply& reply);

private:
    using Handler = void (Player::*)(const Json::Value& request, const Reply& reply);
    struct Titles {
        velmora::Title playing{};
        velmora::Title preloaded{};
    };

    Titles& titlesOf(const Json::Value& request) { return request["ad"].asBool() ? m_advertisements : m_films; }
    void start(const Json::Value& request, const Reply& reply);
    void preload(const Json::Value& request, const Reply& reply);
    void startPreloaded(const Json::Value& request, const Reply& reply);
    void seek(const Json::Value& request, const Reply& reply);
    void stop(const Json::Value& request, const Reply& reply);
    void nextEvent(const Json::Value& request, const Reply& reply);
    void deliver(const std::string& type, const Json::Value& detail);
    void onDefinitions(const std::vector<velmora::Definition>& definitions);
    void onLost(velmora::Title title, const velmora::MediaError& error);

    Titles m_films;
    Titles m_advertisements;
    std::deque<Json::Value> m_events;  ///< until the page asks for them
    std::deque<Reply> m_eventRequests; ///< until there is an event
    velmora::MediaSession m_session;
};

/// The players of a page. One thread: that on which `post` runs tasks.
class PageMedia {
public:
    explicit PageMedia(velmora::MediaSession::PostFunction post) : m_post(std::move(post)) {}

    /// Carries out a request of the page; a page may send anything.
    void handle(const Json::Value& request, const Reply& reply);

    /// Ends all players, when the page is gone.
    void closeAll() { m_players.clear(); }

private:
    void dispatch(const Json::Value& request, const Reply& reply);

    velmora::MediaSession::PostFunction m_post;
    int m_lastPlayer = 0;
    std::map<int, std::unique_ptr<Player>> m_players;
};

#endif // ZUV_EXAMPLES_WEB_ENGINE_PAGE_MEDIA_H
