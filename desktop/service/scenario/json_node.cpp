#include "service/scenario/json_node.h"

#include "base/quoted_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <json/reader.h>

#include <algorithm>
#include <memory>

namespace velmora::desktop {

namespace {

/// The first of the reader's errors, which it formats as "* Line 3, Column 5" and the reason on the next line.
ValidationError firstError(const std::string& errors) {
    const std::size_t end = errors.find('\n');
    const std::string place = errors.substr(std::min<std::size_t>(2, errors.size()), end - 2);
    const std::size_t reason = errors.find_first_not_of(" \n", end);
    return {place, errors.substr(reason, errors.find('\n', reason) - reason)};
}

} // namespace

void JsonNode::requireObject(const std::vector<std::string_view>& members) const {
    requireObject();
    for (const std::string& name : m_value.getMemberNames())
        if (std::find(members.begin(), members.end(), name) == members.end())
            fail(fmt::format("has an unknown member {}; known are {}", inQuotes(name), fmt::join(members, ", ")));
}

JsonNode JsonNode::member(std::string_view name) const {
    const std::optional<JsonNode> found = optionalMember(name);
    if (!found)
        fail(fmt::format("lacks the member {}", inQuotes(name)));
    return *found;
}

std::optional<JsonNode> JsonNode::optionalMember(std::string_view name) const {
    requireObject();
    const std::string key(name);
    if (!m_value.isMember(key))
        return std::nullopt;
    return JsonNode(m_value[key], m_place + "." + key);
}

std::vector<JsonNode> JsonNode::elements() const {
    if (!m_value.isArray())
        fail("is not an array");
    std::vector<JsonNode> nodes;
    for (const Json::Value& element : m_value)
        nodes.emplace_back(element, fmt::format("{}[{}]", m_place, nodes.size()));
    return nodes;
}

void JsonNode::requireObject() const {
    if (!m_value.isObject())
        fail("is not an object");
}

std::string JsonNode::text() const {
    if (!m_value.isString())
        fail("is not a string");
    return m_value.asString();
}

void JsonNode::failChoice(const std::vector<std::string_view>& texts) const {
    fail(fmt::format("is {}, not one of {}", inQuotes(text()), fmt::join(texts, ", ")));
}

int JsonNode::number(int lowest, int highest) const {
    if (!m_value.isInt() || m_value.asInt() < lowest || m_value.asInt() > highest)
        fail(fmt::format("is not a whole number from {} to {}", lowest, highest));
    return m_value.asInt();
}

bool JsonNode::flag() const {
    if (!m_value.isBool())
        fail("is neither true nor false");
    return m_value.asBool();
}

Json::Value parseDocument(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    std::string errors;
    try {
        if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors))
            throw firstError(errors);
    } catch (const Json::Exception& tooDeep) {
        throw ValidationError("$", tooDeep.what());
    }
    return root;
}

} // namespace velmora::desktop
