#include "service/scenario/delivery.h"

#include "base/compact_json.h"

#include <json/value.h>

namespace velmora::desktop {

namespace {

// JsonCpp gives up at 1000.
constexpr std::size_t kDeep = 1500;

std::string rootArray(const std::vector<std::string>& values) {
    Json::Value array(Json::arrayValue);
    for (const std::string& value : values)
        array.append(value);
    return compactJson(array);
}

std::string withNestedDetail(const std::vector<std::string>& values) {
    Json::Value object = toJsonObject(values);
    Json::Value& member = object[std::to_string(event_entry::kDetail)];
    const Json::Value detail = member;
    member = Json::Value(Json::objectValue);
    member["text"] = detail;
    return compactJson(object);
}

/// Adds a last member that is longer than the region, so that only its end is cut off.
std::string oversize(const std::vector<std::string>& values, std::size_t size) {
    std::string text = toJson(values);
    text.pop_back(); // the brace
    text += R"(,"more":")" + std::string(size, 'x');
    return text.substr(0, size);
}

std::string filledWithBlanks(std::string text, std::size_t size) {
    text.resize(size, ' ');
    return text;
}

} // namespace

EventOutput outputOf(const Event& answer, const Delivery& delivery) {
    const std::vector<std::string> values =
        deliveredValues(toValues(fitted(answer, EventRegion::kLongestText)), delivery);
    EventOutput output;
    if (delivery.channels != Channels::Bus)
        output.memory = memoryText(values, delivery.form, EventRegion::kSize);
    if (delivery.channels != Channels::Memory)
        output.bus = values;
    return output;
}

std::vector<std::string> deliveredValues(std::vector<std::string> event, const Delivery& delivery) {
    for (const auto& [position, text] : delivery.replaced)
        event.at(position) = text;
    event.resize(delivery.entries.value_or(event.size()));
    return event;
}

std::string memoryText(const std::vector<std::string>& values, MemoryForm form, std::size_t size) {
    switch (form) {
    case MemoryForm::NotJson:
        return "this is no JSON";
    case MemoryForm::Torn:
        return toJson(values).substr(0, toJson(values).size() / 2);
    case MemoryForm::Oversize:
        return oversize(values, size);
    case MemoryForm::RootArray:
        return rootArray(values);
    case MemoryForm::NestedMember:
        return withNestedDetail(values);
    case MemoryForm::DeepNesting:
        return std::string(kDeep, '[') + std::string(kDeep, ']');
    case MemoryForm::NoZeroByte:
        return filledWithBlanks(toJson(values), size);
    case MemoryForm::Whole:
        break;
    }
    return toJson(values);
}

} // namespace velmora::desktop
