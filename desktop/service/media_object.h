#ifndef ZUV_DESKTOP_SERVICE_MEDIA_OBJECT_H
#define ZUV_DESKTOP_SERVICE_MEDIA_OBJECT_H

#include "base/worker.h"
#include "service/event_sink.h"
#include "service/http/media_server.h"
#include "service/media/definitions.h"
#include "service/media/media_engine.h"
#include "service/protocol/command.h"

#include <array>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace velmora::desktop {

/// What media objects need to do their work. All of it outlives them.
struct MediaServices {
    MediaEngine& engine;
    MediaServer& server;
    EventSink& events;
};

/// A client's media object: a main video and an advertisement, each idle or started.
///
/// Commands are carried out on a thread of the object's own, one after the other; one that fails changes
/// nothing. A start of the URL that was preloaded last goes on with what the preload opened; any other replaces what is
/// started already. A medium that plays to its end stays started, ready for
/// a seek, until it is stopped or replaced. What was replaced is served until the next command succeeds: a page may still
/// read it.
class MediaObject {
public:
    MediaObject(std::string id, const MediaServices& services);
    /// Drops the commands that wait, interrupts the one that is carried out, and ends the media. Can block
    /// while a pipeline ends.
    ~MediaObject();
    MediaObject(const MediaObject&) = delete;
    MediaObject& operator=(const MediaObject&) = delete;

    const std::string& id() const { return m_id; }

    /// Has the command carried out and answered; start, stop, seek or preload. Never blocks. Any thread.
    void post(Command command);

private:
    struct StartedMedium;

    void execute(const Command& command, const std::stop_token& stop);
    void carryOut(const Command& command, const std::stop_token& stop);
    void start(const Command& command, const std::stop_token& stop);
    void replace(std::shared_ptr<StartedMedium>& medium, std::shared_ptr<StartedMedium> next);
    void stop(const Command& command);
    void seek(const Command& command, const std::stop_token& stop);
    Event definitionsOf(StartedMedium& medium, const std::string& kind);
    std::vector<Definition> serveQualities(StartedMedium& medium);
    std::shared_ptr<StartedMedium>& slot(const Command& command);
    StartedMedium& started(const Command& command);

    const std::string m_id;
    const MediaServices m_services;
    std::array<std::shared_ptr<StartedMedium>, 2> m_media; ///< by MediaKind; the worker's alone
    std::list<ServedMedium> m_replaced;                    ///< by the command before; the worker's alone
    Worker m_worker;                                       ///< last: ends before what it uses does
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_OBJECT_H
