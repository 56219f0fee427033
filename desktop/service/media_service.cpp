#include "service/media_service.h"

#include "base/quoted_text.h"
#include "base/random_token.h"
#include "log/desktop_log.h"

#include <fmt/format.h>

#include <algorithm>

namespace velmora::desktop {

MediaService::MediaService(const MediaServices& services) : m_services(services) {}

void MediaService::onCommand(const std::vector<std::string>& values, const std::string& client) {
    try {
        carryOut(decodeCommand(values), client);
    } catch (const CommandFailure& failure) {
        m_services.events.publishRefusal(refusalOf(values, failure));
    }
}

void MediaService::onClientLeft(const std::string& client) {
    for (auto entry = m_objects.begin(); entry != m_objects.end();) {
        if (entry->second.client != client) {
            ++entry;
            continue;
        }
        logInfo("object freed id={} client={} left", entry->first, client);
        m_disposer.post([object = std::move(entry->second.object)](const std::stop_token&) mutable { object.reset(); });
        entry = m_objects.erase(entry);
    }
}

void MediaService::carryOut(const Command& command, const std::string& client) {
    try {
        if (command.name == CommandName::Create)
            create(command, client);
        else if (command.name == CommandName::Inspect)
            inspect(command);
        else
            forward(command);
    } catch (const std::exception& failure) {
        m_services.events.publishAnswer(command.name, failureOf(command, failure));
    }
}

void MediaService::create(const Command& command, const std::string& client) {
    if (command.session.empty())
        throw CommandFailure(ResultCode::BadCommand, "A create command needs a session identifier");
    Event answer = answerTo(command);
    answer.objectId = entryFor(command, client).object->id();
    m_services.events.publishAnswer(command.name, answer);
}

void MediaService::inspect(const Command& command) {
    Event answer = answerTo(command);
    answer.detail = fmt::format("objects={}", m_objects.size());
    m_services.events.publishAnswer(command.name, answer);
}

void MediaService::forward(const Command& command) {
    const auto entry = m_objects.find(command.objectId);
    if (entry == m_objects.end())
        throw CommandFailure(ResultCode::NotFound, fmt::format("No such object: {}", inQuotes(command.objectId)));
    entry->second.object->post(command);
}

/// A client that creates synchronously sends the same command twice but expects one object.
MediaService::Entry& MediaService::entryFor(const Command& create, const std::string& client) {
    if (Entry* known = findSession(create.session))
        return *known;
    // Random, so that an identifier from before a restart of the service never matches a new object.
    auto object = std::make_shared<MediaObject>("obj-" + randomToken(), m_services);
    logInfo("object created id={} client={} session={}", object->id(), client, inQuotes(create.session));
    const std::string id = object->id();
    return m_objects.emplace(id, Entry{std::move(object), create.session, client}).first->second;
}

MediaService::Entry* MediaService::findSession(const std::string& session) {
    const auto found = std::find_if(m_objects.begin(), m_objects.end(),
                                    [&](const auto& entry) { return entry.second.session == session; });
    return found == m_objects.end() ? nullptr : &found->second;
}

} // namespace velmora::desktop
