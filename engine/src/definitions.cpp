#include "definitions.h"

#include <json/reader.h>
#include <json/value.h>

#include <memory>

namespace velmora::engine {

namespace {

// The reader reports nesting that is too deep, and nothing else, by an exception.
Json::Value parseJson(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    try {
        if (reader->parse(text.data(), text.data() + text.size(), &root, nullptr))
            return root;
    } catch (const Json::Exception&) {
    }
    return {};
}

} // namespace

std::vector<Definition> parseDefinitions(const std::string& text) {
    const Json::Value list = parseJson(text);
    std::vector<Definition> definitions;
    if (!list.isArray())
        return definitions;
    for (const Json::Value& entry : list)
        if (entry.isObject() && entry["definition"].isString() && entry["url"].isString())
            definitions.push_back({entry["definition"].asString(), entry["url"].asString()});
    return definitions;
}

} // namespace velmora::engine
