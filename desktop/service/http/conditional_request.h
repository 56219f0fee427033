// Requests that ask for something only if it has changed, or has not.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_CONDITIONAL_REQUEST_H
#define ZUV_DESKTOP_SERVICE_HTTP_CONDITIONAL_REQUEST_H

#include "service/http/http_message.h"

#include <ctime>
#include <string>

namespace velmora::desktop {

/// What tells one state of a medium from another.
struct Validators {
    std::string etag; ///< strong, with its quotes
    std::time_t modified;
};

/// @return the status that the conditions of the request ask for: 412 when one is not met, 304 when the client has
///         this state already, otherwise 200.
int evaluateConditions(const HttpRequest& request, const Validators& current);

/// Whether the Range field counts. It does not when If-Range names another state: the client then wants the whole.
bool rangeApplies(const HttpRequest& request, const Validators& current);

/// A point in time as HTTP writes it: "Sun, 06 Nov 1994 08:49:37 GMT".
std::string httpDate(std::time_t time);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_CONDITIONAL_REQUEST_H
