// The look at the address of an http or https medium before a pipeline opens it, so that what the service answers about
// an address does not depend on the plugin that would fetch it.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_ADDRESS_LOOK_H
#define ZUV_DESKTOP_SERVICE_MEDIA_ADDRESS_LOOK_H

#include <chrono>
#include <stop_token>
#include <string>

namespace velmora::desktop {

/// What is at an address.
struct MediaAddress {
    std::string url;      ///< after redirects
    std::string playlist; ///< the text of what may be a playlist; empty otherwise
};

/// Sends one GET request, and ends it when the body begins, unless it may be a playlist. Blocks until then.
/// @throws CommandFailure NotFound if the server cannot be reached or trusted, or refuses; Unplayable if it does not
///     answer within the time; Internal once a stop is requested.
MediaAddress lookAtAddress(const std::string& url, std::chrono::milliseconds timeout, const std::stop_token& stop);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_ADDRESS_LOOK_H
