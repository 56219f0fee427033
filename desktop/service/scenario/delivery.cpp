#include "service/scenario/delivery.h"

#include "service/protocol/event.h"

#include <json/value.h>
#include <json/writer.h>

namespace velmora::desktop {

namespace {

// JsonCpp gives up at 1000.
constexpr std::size_t kDeep = 1500;

constexpr const char* kDetailMember = "8";

std::string compact(const Json::Value& root) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, root);
}

Json::Value arrayOf(const std::vector<std::string>& values) {
    Json::Value array(Json::arrayValue);
    for (const std::string& value : values)
        array.append(value);
    return array;
}

std::string withNestedDetail(const std::vector<std::string>& values) {
    Json::Value object(Json::objectValue);
    for (std::size_t i = 0; i < values.size(); ++i)
        object[std::to_string(i)] = values[i];
    const Json::Value detail = object[kDetailMember];
    object[kDetailMember] = Json::Value(Json::objectValue);
    object[kDetailMember]["text"] = detail;
    return compact(object);
}

/// A member too long for the region comes last, so that the end of the text is what does not fit.
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
        return compact(arrayOf(values));
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
