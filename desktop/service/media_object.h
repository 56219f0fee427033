// The object that a client plays its media with.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_OBJECT_H
#define ZUV_DESKTOP_SERVICE_MEDIA_OBJECT_H

#include "base/worker.h"
#include "service/command_backlog.h"
#include "service/event_sink.h"
#include "service/http/media_server.h"
#include "service/media/definitions.h"
#include "service/media/media_engine.h"
#include "service/protocol/command.h"

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velmora::desktop {

/// The parts of the service that media objects use. They outlive the objects.
struct MediaServices {
    MediaEngine& engine;
    MediaServer& server;
    EventSink& events; ///< called on any thread
    /// How long a command may take once a later one makes it pointless. Media that open do so within this time, so that
    /// two commands in quick succession are both carried out.
    std::chrono::milliseconds patience{1000};
};

/// A client's media object: a main video and an advertisement, each idle or started.
///
/// Commands are carried out one after the other on the object's own thread; one that fails changes nothing. One that
/// hangs fails as soon as a later one makes it pointless, as CommandInProgress says. A start of
/// the URL that was preloaded last continues with the medium that the preload opened; any other start replaces the
/// started medium. A medium that plays to its end stays started, ready for a seek, until it is stopped or replaced. A
/// replaced medium is served until the next command succeeds, because a page may still be reading it.
class MediaObject {
public:
    MediaObject(std::string id, const MediaServices& services);
    /// Drops the waiting commands, interrupts the current one and ends the media. Can block while a pipeline ends.
    ~MediaObject();
    MediaObject(const MediaObject&) = delete;
    MediaObject& operator=(const MediaObject&) = delete;

    const std::string& id() const { return m_id; }

    /// Carries out and answers a start, stop, seek or preload command, later and on another thread. Never blocks. Any
    /// thread.
    void post(Command command);

private:
    struct StartedMedium;

    void executeNext(const std::stop_token& stop);
    void carryOut(const Command& command, const std::stop_token& stop);
    void start(const Command& command, const std::stop_token& stop);
    void replace(std::shared_ptr<StartedMedium>& medium, std::shared_ptr<StartedMedium> next);
    void stop(const Command& command);
    void seek(const Command& command, const std::stop_token& stop);
    Event definitionsOf(StartedMedium& medium, const std::string& kind);
    std::vector<Definition> serveQualities(StartedMedium& medium);
    std::vector<Definition> serveQualityFiles(StartedMedium& medium);
    std::vector<Definition> serveVariants(StartedMedium& medium);
    std::shared_ptr<StartedMedium>& slot(const Command& command);
    StartedMedium& started(const Command& command);

    const std::string m_id;
    const MediaServices m_services;
    std::map<MediaKind, std::shared_ptr<StartedMedium>> m_media; ///< used by the worker only
    std::list<ServedMedium> m_replaced; ///< by the latest successful command; used by the worker only
    CommandBacklog m_backlog;
    Worker m_worker; ///< last, so that it ends before what it uses
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_OBJECT_H
