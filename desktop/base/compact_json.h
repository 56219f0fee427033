// JSON text as the service writes it.
#ifndef ZUV_DESKTOP_BASE_COMPACT_JSON_H
#define ZUV_DESKTOP_BASE_COMPACT_JSON_H

#include <json/forwards.h>

#include <string>

namespace velmora::desktop {

/// The value on one line, without blanks. Bytes outside ASCII are not escaped, whether they are UTF-8 or not.
std::string compactJson(const Json::Value& value);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_COMPACT_JSON_H
