#include "service/media_object.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/media/media_request.h"
#include "service/media/playlist.h"
#include "service/protocol/result_code.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

namespace velmora::desktop {

namespace {

CommandFailure givenUpFor(CommandName later) {
    const auto* const word = std::ranges::find(kCommandWords, later, &CommandWord::name);
    return {ResultCode::Interrupted, fmt::format("Given up for a later {}", word->text)};
}

/// @param height 0 for sound alone.
std::string definitionName(int height) {
    return height > 0 ? fmt::format("{}p", height) : "audio";
}

} // namespace

/// A medium from its start to its end.
struct MediaObject::StartedMedium {
    StartedMedium(const MediaServices& services, MediaLocation where, double position, const std::stop_token& stop)
        : location(std::move(where)), playback(services.engine.open(location, position, stop)) {
        const MediaAddress address = playback->address();
        playlist = parsePlaylist(location.file.empty() ? address.playlist : readPlaylist(location.file));
        if (playlist && location.file.empty())
            location.uri = address.url; // what its references are relative to
        served.emplace_back(services.server, location, playlist ? MediumForm::Playlist : MediumForm::Single);
    }

    std::string url() const { return served.front().url(); }

    MediaLocation location;
    std::unique_ptr<MediaPlayback> playback;
    std::optional<Playlist> playlist;        ///< that the medium is
    std::list<ServedMedium> served;          ///< the medium itself, then its other qualities
    std::string definitions;                 ///< empty until they are first needed
    std::optional<std::string> preloadedUrl; ///< as the client gave it; without a value once started
};

MediaObject::MediaObject(std::string id, const MediaServices& services) : m_id(std::move(id)), m_services(services) {}

MediaObject::~MediaObject() = default;

void MediaObject::post(Command command) {
    m_backlog.add(std::move(command));
    m_worker.post([this](const std::stop_token& stop) { executeNext(stop); });
}

void MediaObject::executeNext(const std::stop_token& stop) {
    const Command command = m_backlog.take();
    CommandInProgress progress(m_backlog, command, m_services.patience, stop);
    try {
        carryOut(command, progress.token());
    } catch (const std::exception& failure) {
        const std::optional<CommandName> later = progress.givenUpFor();
        m_services.events.publishAnswer(command.name,
                                        later ? failureOf(command, givenUpFor(*later)) : failureOf(command, failure));
    }
}

void MediaObject::carryOut(const Command& command, const std::stop_token& stop) {
    if (command.name == CommandName::Stop)
        this->stop(command);
    else if (command.name == CommandName::Seek)
        seek(command, stop);
    else
        start(command, stop);
}

void MediaObject::start(const Command& command, const std::stop_token& stop) {
    std::shared_ptr<StartedMedium>& medium = slot(command);
    const bool preload = command.name == CommandName::Preload;
    const double position = preload ? positionSeconds(command.position) : 0;
    if (preload || !medium || medium->preloadedUrl != command.url)
        replace(medium, std::make_shared<StartedMedium>(m_services, locateMedia(command.url), position, stop));
    else
        m_replaced.clear();
    medium->preloadedUrl = preload ? std::optional(command.url) : std::nullopt;
    Event answer = answerTo(command);
    answer.localUrl = medium->url();
    logInfo("started object={} kind={} url={} local={}", m_id, command.kind, inQuotes(command.url), answer.localUrl);
    // Clients apply every definitions text to the main video.
    if (mediaKind(command.kind) == MediaKind::Advertisement)
        return m_services.events.publishAnswer(command.name, answer);
    const Event news = definitionsOf(*medium, command.kind);
    m_services.events.publishAnswer(command.name, answer);
    m_services.events.publishNews(news, medium);
}

/// Ends the previous pipeline at once.
void MediaObject::replace(std::shared_ptr<StartedMedium>& medium, std::shared_ptr<StartedMedium> next) {
    m_replaced = medium ? std::move(medium->served) : std::list<ServedMedium>();
    medium = std::move(next);
}

void MediaObject::stop(const Command& command) {
    started(command);
    slot(command).reset();
    m_replaced.clear();
    logInfo("stopped object={} kind={}", m_id, command.kind);
    m_services.events.publishAnswer(command.name, answerTo(command));
}

void MediaObject::seek(const Command& command, const std::stop_token& stop) {
    const double position = positionSeconds(command.position);
    started(command).playback->seek(position, stop);
    m_replaced.clear();
    m_services.events.publishAnswer(command.name, answerTo(command));
}

Event MediaObject::definitionsOf(StartedMedium& medium, const std::string& kind) {
    if (medium.definitions.empty())
        medium.definitions = definitionsText(serveQualities(medium));
    Event news;
    news.name = kDefinitionEvent;
    news.objectId = m_id;
    news.definitions = medium.definitions;
    news.kind = kind;
    return news;
}

/// Serves the qualities for as long as the medium itself.
std::vector<Definition> MediaObject::serveQualities(StartedMedium& medium) {
    std::vector<Definition> definitions;
    if (medium.playlist)
        definitions = serveVariants(medium);
    else
        definitions = serveQualityFiles(medium);
    if (definitions.empty())
        definitions.push_back({definitionName(medium.playback->videoHeight().value_or(0)), medium.url()});
    return definitions;
}

/// The files beside the medium, and the medium itself unless one of them has its height.
std::vector<Definition> MediaObject::serveQualityFiles(StartedMedium& medium) {
    std::map<int, std::string> urls;
    for (const QualityFile& quality : qualityFiles(medium.location.file))
        urls[quality.height] = medium.served.emplace_back(m_services.server, MediaLocation{"", quality.file}).url();
    urls.emplace(medium.playback->videoHeight().value_or(0), medium.url());
    std::vector<Definition> definitions;
    definitions.reserve(urls.size());
    for (const auto& [height, url] : urls)
        definitions.push_back({definitionName(height), url});
    return definitions;
}

/// Those of a playlist that can be reached through it or over HTTP.
std::vector<Definition> MediaObject::serveVariants(StartedMedium& medium) {
    std::vector<Definition> definitions;
    for (const PlaylistVariant& variant : medium.playlist->variants) {
        const std::string elsewhere = resolvedUrl(medium.location.uri, variant.reference);
        std::optional<std::string> url = medium.served.front().urlOf(variant.reference);
        if (variant.reference.empty())
            url = medium.url();
        else if (!url && isHttp(elsewhere))
            url =
                medium.served.emplace_back(m_services.server, MediaLocation{elsewhere, ""}, MediumForm::Playlist).url();
        if (url)
            definitions.push_back({definitionName(variant.height), *url});
    }
    return definitions;
}

std::shared_ptr<MediaObject::StartedMedium>& MediaObject::slot(const Command& command) {
    return m_media[mediaKind(command.kind)];
}

MediaObject::StartedMedium& MediaObject::started(const Command& command) {
    const std::shared_ptr<StartedMedium>& medium = slot(command);
    if (!medium)
        throw CommandFailure(ResultCode::WrongState, fmt::format("{} is not started", command.kind));
    return *medium;
}

} // namespace velmora::desktop
