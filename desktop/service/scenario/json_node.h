// Reading a JSON document strictly, with errors that name the place.
#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_JSON_NODE_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_JSON_NODE_H

#include <json/value.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::desktop {

/// Where and why a document is invalid: what() is "PLACE: REASON".
class ValidationError : public std::runtime_error {
public:
    ValidationError(const std::string& place, const std::string& reason) : std::runtime_error(place + ": " + reason) {}
};

/// A value of a JSON document with its place in it, written as JSONPath ("$.rules[0].nth"). The document outlives it.
/// Each function throws a ValidationError when the value is not what the function asks for.
class JsonNode {
public:
    explicit JsonNode(const Json::Value& value, std::string place = "$") : m_value(value), m_place(std::move(place)) {}

    [[noreturn]] void fail(const std::string& reason) const { throw ValidationError(m_place, reason); }

    /// An object that has no other members than these.
    void requireObject(const std::vector<std::string_view>& members) const;

    JsonNode member(std::string_view name) const;
    std::optional<JsonNode> optionalMember(std::string_view name) const;
    std::vector<JsonNode> elements() const;

    std::string text() const;
    /// A whole number within these bounds, both included.
    int number(int lowest, int highest) const;
    bool flag() const;

    /// A text that is the `text` of one of the rows. @return that row.
    template <typename Row, std::size_t size>
    const Row& choice(const std::array<Row, size>& rows) const {
        const std::string given = text();
        std::vector<std::string_view> texts;
        for (const Row& row : rows) {
            if (row.text == given)
                return row;
            texts.push_back(row.text);
        }
        failChoice(texts);
    }

private:
    void requireObject() const;
    [[noreturn]] void failChoice(const std::vector<std::string_view>& texts) const;

    const Json::Value& m_value;
    std::string m_place;
};

/// @throws ValidationError when the text is not strict JSON; its place is a line and a column.
Json::Value parseDocument(const std::string& text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_JSON_NODE_H
