// Which parts of an upstream server's response are passed on.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_HEAD_H
#define ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_HEAD_H

#include "service/http/http_message.h"

#include <curl/curl.h>

namespace velmora::desktop {

/// The head of the last response that a transfer received, with the fields that describe the body and no others; status
/// 502 if the response is contradictory or of no use to a reader. The body is passed on with 200 and 206 only: `length`
/// is 0 otherwise.
ResponseHead passedOn(CURL* transfer);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_UPSTREAM_HEAD_H
