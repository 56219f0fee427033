#include "service/media/media_request.h"

#include <cstdlib>
#include <stdexcept>

namespace velmora::desktop {

namespace {

constexpr long kMaximumRedirects = 5;

struct UrlCleanUp {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
    void operator()(char* text) const { curl_free(text); }
};

/// Reads the environment variables as the command-line tools of libcurl and OpenSSL do.
void trustCertificates(CURL* easy) {
    if (const char* file = std::getenv("SSL_CERT_FILE"))
        curl_easy_setopt(easy, CURLOPT_CAINFO, file);
    if (const char* folder = std::getenv("SSL_CERT_DIR"))
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder);
}

} // namespace

CurlHandle makeMediaRequest(const std::string& url) {
    CurlHandle request(curl_easy_init());
    if (!request)
        throw std::runtime_error("cannot use libcurl");
    CURL* const easy = request.get();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMaximumRedirects);
    curl_easy_setopt(easy, CURLOPT_PROXY, ""); // no proxy, even if the environment names one
    // A pause stops the whole connection, which HTTP/2 would share between transfers.
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // Otherwise the end of the service would wait for name servers.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "zuv-service");
    trustCertificates(easy);
    return request;
}

std::string resolvedUrl(const std::string& base, const std::string& reference) {
    const std::unique_ptr<CURLU, UrlCleanUp> url(curl_url());
    char* text = nullptr;
    const bool valid =
        curl_url_set(url.get(), CURLUPART_URL, base.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK &&
        curl_url_set(url.get(), CURLUPART_URL, reference.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK &&
        curl_url_set(url.get(), CURLUPART_FRAGMENT, nullptr, 0) == CURLUE_OK &&
        curl_url_get(url.get(), CURLUPART_URL, &text, 0) == CURLUE_OK;
    const std::unique_ptr<char, UrlCleanUp> owned(text);
    return valid ? text : "";
}

} // namespace velmora::desktop
