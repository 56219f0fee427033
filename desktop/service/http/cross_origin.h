// What lets a page of any origin use the media: CORS and its relatives.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_CROSS_ORIGIN_H
#define ZUV_DESKTOP_SERVICE_HTTP_CROSS_ORIGIN_H

#include "service/http/http_message.h"

namespace velmora::desktop {

/// The value of Allow.
constexpr const char* kAllowedMethods = "GET, HEAD, OPTIONS";

/// The fields that every response has.
void addCrossOriginFields(HttpFields& fields);

/// The response to OPTIONS, which browsers send before a request with fields of its own.
ResponseHead optionsResponse(const HttpRequest& request);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_CROSS_ORIGIN_H
