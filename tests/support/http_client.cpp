#include "support/http_client.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <memory>

namespace velmora {

namespace {

// At the start of the program, because it is not safe while other threads run.
const CURLcode kInitialized = curl_global_init(CURL_GLOBAL_DEFAULT);

struct CleanUp {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::size_t onBody(char* bytes, std::size_t, std::size_t size, void* answer) {
    static_cast<HttpAnswer*>(answer)->body.append(bytes, size);
    return size;
}

void readHeaders(CURL* easy, HttpAnswer& answer) {
    curl_header* header = nullptr;
    while ((header = curl_easy_nextheader(easy, CURLH_HEADER, -1, header)) != nullptr)
        answer.headers[lowerCase(header->name)] = header->value;
}

void setMethod(CURL* easy, const HttpQuestion& question) {
    if (question.method == "HEAD")
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    else if (question.method != "GET")
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, question.method.c_str());
    if (question.body.empty())
        return;
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, question.body.data());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(question.body.size()));
}

} // namespace

std::string HttpAnswer::header(const std::string& name) const {
    const auto found = headers.find(lowerCase(name));
    return found == headers.end() ? "" : found->second;
}

HttpAnswer ask(const std::string& url, const HttpQuestion& question) {
    HttpAnswer answer;
    std::unique_ptr<curl_slist, CleanUp> headers;
    for (const std::string& header : question.headers)
        headers.reset(curl_slist_append(headers.release(), header.c_str()));
    const std::unique_ptr<CURL, CleanUp> easy(kInitialized == CURLE_OK ? curl_easy_init() : nullptr);
    setMethod(easy.get(), question);
    curl_easy_setopt(easy.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(easy.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT_MS, static_cast<long>(question.patience.count()));
    curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, &onBody);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &answer);
    const CURLcode result = curl_easy_perform(easy.get());
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    answer.status = static_cast<int>(status);
    answer.complete = result == CURLE_OK;
    answer.timedOut = result == CURLE_OPERATION_TIMEDOUT;
    readHeaders(easy.get(), answer);
    return answer;
}

HttpAnswer fetch(const std::string& url, const std::string& range) {
    return ask(url, range.empty() ? HttpQuestion{} : HttpQuestion{.headers = {"Range: " + range}});
}

HttpAnswer fetchHeader(const std::string& url) {
    return ask(url, {.method = "HEAD"});
}

bool hangs(const std::string& url) {
    const HttpAnswer answer = ask(url, {.patience = std::chrono::milliseconds(200)});
    return answer.timedOut && answer.status == 0;
}

} // namespace velmora
