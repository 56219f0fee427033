// The request for an http or https medium, as every part of the service makes it: a libcurl handle.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_REQUEST_H
#define ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_REQUEST_H

#include <curl/curl.h>

#include <memory>
#include <string>

namespace velmora::desktop {

struct CurlCleanUp {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleanUp>;
using CurlFields = std::unique_ptr<curl_slist, CurlCleanUp>;

/// A request that follows redirects, to http and https only, and verifies certificates. It uses no proxy.
/// @throws std::runtime_error
CurlHandle makeMediaRequest(const std::string& url);

/// A reference in a document, as an absolute URL without a fragment.
/// @param base the URL of the document.
/// @return empty if the reference is not valid.
std::string resolvedUrl(const std::string& base, const std::string& reference);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_REQUEST_H
