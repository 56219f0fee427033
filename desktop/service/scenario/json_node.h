#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_JSON_NODE_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_JSON_NODE_H

#include <json/value.h>

#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::desktop {

/// Why a document is not what it should be, and where: what() is "PLACE: REASON".
class ValidationError : public std::runtime_error {
public:
    ValidationError(const std::string& place, const std::string& reason) : std::runtime_error(place + ": " + reason) {}
};

/// A value of a JSON document that knows its place in it, as JSONPath has it ("$.rules[0].nth"). The document
/// outlives it. Whatever is not as asked for is a ValidationError.
class JsonNode {
public:
    explicit JsonNode(const Json::Value& value, std::string place = "$") : m_value(value), m_place(std::move(place)) {}

    [[noreturn]] void fail(const std::string& reason) const { throw ValidationError(m_place, reason); }

    /// An object whose members are among these.
    void requireObject(std::initializer_list<std::string_view> members) const;

    JsonNode member(const std::string& name) const;
    std::optional<JsonNode> optionalMember(const std::string& name) const;
    std::vector<JsonNode> elements() const;

    std::string text() const;
    /// A text that is one of these. @return which.
    std::size_t choice(const std::vector<std::string_view>& texts) const;
    /// A whole number within these bounds, both included.
    int number(int lowest, int highest) const;
    bool flag() const;

private:
    void requireObject() const;

    const Json::Value& m_value;
    std::string m_place;
};

/// @throws ValidationError when the text is not strictly JSON; its place is a line and a column.
Json::Value parseDocument(const std::string& text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_JSON_NODE_H
