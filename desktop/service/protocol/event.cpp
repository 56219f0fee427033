#include "service/protocol/event.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>

namespace velmora::desktop {

namespace {

const char* answerName(CommandName command) {
    switch (command) {
    case CommandName::Create:
        return "created";
    case CommandName::Stop:
        return "stopped";
    case CommandName::Seek:
        return "seeked";
    case CommandName::Inspect:
        return "status";
    case CommandName::Start:
    case CommandName::Preload:
        break;
    }
    return "started";
}

/// What a list that may be of any length has at a place of a kind or identifier.
std::string identifierAt(const std::vector<std::string>& values, std::size_t position) {
    return position < values.size() ? values[position].substr(0, kLongestIdentifier) : "";
}

std::size_t jsonSize(const Event& event) {
    return toJson(toValues(event)).size();
}

/// Cuts before a character, never inside one.
void truncateUtf8(std::string& text, std::size_t size) {
    const auto continues = [&text](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U; };
    while (size > 0 && size < text.size() && continues(size))
        --size;
    text.resize(std::min(size, text.size()));
}

} // namespace

Event answerTo(const Command& command) {
    Event event;
    event.name = answerName(command.name);
    event.session = command.session;
    event.objectId = command.objectId;
    event.detail = "OK";
    event.kind = command.kind;
    event.command = command.name;
    return event;
}

Event failureOf(const Command& command, const std::exception& failure) {
    const auto* expected = dynamic_cast<const CommandFailure*>(&failure);
    Event event = answerTo(command);
    event.code = expected == nullptr ? ResultCode::Internal : expected->code();
    event.detail = failure.what();
    return event;
}

Event refusalOf(const std::vector<std::string>& values, const CommandFailure& failure) {
    Event event;
    event.name = "unknown"; // as a client's own neutral event; "created" or "status" would wake whoever waits
    event.code = failure.code();
    event.kind = identifierAt(values, 1);
    event.session = identifierAt(values, 2);
    event.objectId = identifierAt(values, 3);
    event.detail = failure.what();
    return event;
}

std::vector<std::string> toValues(const Event& event) {
    return {event.name,
            std::to_string(static_cast<int>(event.code)),
            event.session,
            event.objectId,
            "",
            "",
            event.localUrl,
            event.definitions,
            event.detail,
            event.kind,
            ""};
}

std::string toJson(const std::vector<std::string>& values) {
    Json::Value object(Json::objectValue);
    for (std::size_t i = 0; i < values.size(); ++i)
        object[std::to_string(i)] = values[i];
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, object);
}

Event fitted(Event event, std::size_t limit) {
    while (jsonSize(event) > limit && !event.detail.empty())
        truncateUtf8(event.detail, event.detail.size() / 2);
    if (jsonSize(event) > limit)
        event.definitions.clear();
    return event;
}

} // namespace velmora::desktop
