// The header fields that let pages of any origin use the media: CORS and related ones.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_CROSS_ORIGIN_H
#define ZUV_DESKTOP_SERVICE_HTTP_CROSS_ORIGIN_H

#include "service/http/http_message.h"

namespace velmora::desktop {

/// The value of the Allow field.
constexpr const char* kAllowedMethods = "GET, HEAD, OPTIONS";

/// Adds the fields that every response has.
void addCrossOriginFields(HttpFields& fields);

/// The response to OPTIONS, which browsers send before a cross-origin request with additional fields.
ResponseHead optionsResponse(const HttpRequest& request);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_CROSS_ORIGIN_H
