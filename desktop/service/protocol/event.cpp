#include "service/protocol/event.h"

#include "base/compact_json.h"

#include <json/value.h>

#include <algorithm>

namespace velmora::desktop {

namespace {

/// The list, which can have any length, may lack the entry.
std::string identifierAt(const std::vector<std::string>& values, std::size_t entry) {
    return entry < values.size() ? values[entry].substr(0, kLongestIdentifier) : "";
}

std::size_t jsonSize(const Event& event) {
    return toJson(toValues(event)).size();
}

/// Cuts between characters, never inside one.
void truncateUtf8(std::string& text, std::size_t size) {
    const auto continues = [&text](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U; };
    while (size > 0 && size < text.size() && continues(size))
        --size;
    text.resize(std::min(size, text.size()));
}

} // namespace

Event answerTo(const Command& command) {
    Event event;
    event.name = std::ranges::find(kCommandWords, command.name, &CommandWord::name)->answer;
    event.session = command.session;
    event.objectId = command.objectId;
    event.detail = "OK";
    event.kind = command.kind;
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
    event.name = kRefusalEvent;
    event.code = failure.code();
    event.kind = identifierAt(values, command_entry::kKind);
    event.session = identifierAt(values, command_entry::kSession);
    event.objectId = identifierAt(values, command_entry::kObject);
    event.detail = failure.what();
    return event;
}

std::vector<std::string> toValues(const Event& event) {
    std::vector<std::string> values(kEntries);
    values[event_entry::kName] = event.name;
    values[event_entry::kCode] = std::to_string(static_cast<int>(event.code));
    values[event_entry::kSession] = event.session;
    values[event_entry::kObject] = event.objectId;
    values[event_entry::kLocalUrl] = event.localUrl;
    values[event_entry::kDefinitions] = event.definitions;
    values[event_entry::kDetail] = event.detail;
    values[event_entry::kKind] = event.kind;
    return values;
}

Json::Value toJsonObject(const std::vector<std::string>& values) {
    Json::Value object(Json::objectValue);
    for (std::size_t i = 0; i < values.size(); ++i)
        object[std::to_string(i)] = values[i];
    return object;
}

std::string toJson(const std::vector<std::string>& values) {
    return compactJson(toJsonObject(values));
}

Event fitted(Event event, std::size_t limit) {
    while (jsonSize(event) > limit && !event.detail.empty())
        truncateUtf8(event.detail, event.detail.size() / 2);
    if (jsonSize(event) > limit)
        event.definitions.clear();
    return event;
}

} // namespace velmora::desktop
