#ifndef ZUV_DESKTOP_SERVICE_HTTP_MEDIA_RESPONSE_H
#define ZUV_DESKTOP_SERVICE_HTTP_MEDIA_RESPONSE_H

#include "service/http/media_server.h"

#include <memory>

namespace velmora::desktop {

// The answers to one request for a medium, for at most one range. Both leave the transfer of the body to a
// function that the server calls afterwards on the same thread, and that ends it when the medium is
// withdrawn.
//
// They give lengths and ranges themselves: the HTTP library (0.11) neither cuts a range at the end of the
// file nor turns down one that begins behind it.

/// From a local file, in chunks.
void respondFromFile(const std::shared_ptr<const ServedLocation>& medium, const httplib::Request& request,
                     httplib::Response& response);

/// From the server that has an http medium; what it answers to the same range is passed on. Asks it twice:
/// the status and length are needed before the library lets the first byte go out.
void respondFromUpstream(const std::shared_ptr<const ServedLocation>& medium, const httplib::Request& request,
                         httplib::Response& response);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_MEDIA_RESPONSE_H
