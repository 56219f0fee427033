// Conditional requests: for a medium only if it has changed, or only if it has not.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_CONDITIONAL_REQUEST_H
#define ZUV_DESKTOP_SERVICE_HTTP_CONDITIONAL_REQUEST_H

#include "service/http/http_message.h"

#include <ctime>
#include <string>

namespace velmora::desktop {

/// What distinguishes one version of a medium from another.
struct Validators {
    std::string etag; ///< strong, with its quotes
    std::time_t modified;
};

/// Evaluates the conditions of a request.
/// @return the status of the response: 412 if a condition is not met, 304 if the client has this version already,
///     otherwise 200.
int evaluateConditions(const HttpRequest& request, const Validators& current);

/// Whether the Range field applies. It does not if If-Range names another version: the client then wants the whole
/// medium.
bool rangeApplies(const HttpRequest& request, const Validators& current);

/// A time in the format of HTTP: "Sun, 06 Nov 1994 08:49:37 GMT".
std::string httpDate(std::time_t time);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_CONDITIONAL_REQUEST_H
