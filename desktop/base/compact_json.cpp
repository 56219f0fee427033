#include "base/compact_json.h"

#include <json/value.h>
#include <json/writer.h>

namespace velmora::desktop {

std::string compactJson(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

} // namespace velmora::desktop
