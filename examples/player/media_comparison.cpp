#include "media_comparison.h"

#include <curl/curl.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

/// Receives a download piece by piece; returns false to end it.
using Sink = std::function<bool(const char* data, std::size_t size)>;

constexpr long kPatience = 5; // seconds

struct Download {
    CURL* transfer;
    const Sink& sink;
};

std::size_t onBody(char* data, std::size_t, std::size_t size, void* context) {
    const Download& download = *static_cast<Download*>(context);
    long status = 0;
    curl_easy_getinfo(download.transfer, CURLINFO_RESPONSE_CODE, &status);
    return status == 200 && download.sink(data, size) ? size : CURL_WRITEFUNC_ERROR;
}

void configure(CURL* transfer, const std::string& url, Download& download) {
    curl_easy_setopt(transfer, CURLOPT_URL, url.c_str());
    curl_easy_setopt(transfer, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(transfer, CURLOPT_PROXY, ""); // none, whatever the environment says
    curl_easy_setopt(transfer, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(transfer, CURLOPT_CONNECTTIMEOUT, kPatience);
    // Given up when not even a byte a second arrives.
    curl_easy_setopt(transfer, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(transfer, CURLOPT_LOW_SPEED_TIME, kPatience);
    curl_easy_setopt(transfer, CURLOPT_WRITEFUNCTION, &onBody);
    curl_easy_setopt(transfer, CURLOPT_WRITEDATA, &download);
}

void fetch(const std::string& url, const Sink& sink) {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> transfer(curl_easy_init(), &curl_easy_cleanup);
    if (!transfer)
        throw std::runtime_error("cannot use libcurl");
    Download download{transfer.get(), sink};
    configure(transfer.get(), url, download);
    const CURLcode result = curl_easy_perform(transfer.get());
    long status = 0;
    curl_easy_getinfo(transfer.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status != 0 && status != 200)
        throw std::runtime_error(url + " answers with status " + std::to_string(status));
    if (result != CURLE_OK)
        throw std::runtime_error("cannot fetch " + url + ": " + curl_easy_strerror(result));
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Opens the medium for reading; an http or https URL is downloaded to a temporary file.
File openMedium(const std::string& medium) {
    if (medium.rfind("http://", 0) != 0 && medium.rfind("https://", 0) != 0) {
        File file(std::fopen(medium.c_str(), "rb"));
        if (!file)
            throw std::runtime_error("cannot read " + medium + ": " + std::strerror(errno));
        return file;
    }
    File copy(std::tmpfile());
    if (!copy)
        throw std::runtime_error(std::string("cannot make a temporary file: ") + std::strerror(errno));
    fetch(medium, [&](const char* data, std::size_t size) { return std::fwrite(data, 1, size, copy.get()) == size; });
    std::rewind(copy.get());
    return copy;
}

} // namespace

std::uint64_t fetchAndCompare(const std::string& localUrl, const std::string& medium) {
    const File original = openMedium(medium);
    std::uint64_t same = 0;
    bool differs = false;
    std::vector<char> expected;
    const auto compare = [&](const char* data, std::size_t size) {
        expected.resize(size);
        differs = std::fread(expected.data(), 1, size, original.get()) != size ||
                  std::memcmp(expected.data(), data, size) != 0;
        same += differs ? 0 : size;
        return !differs;
    };
    try {
        fetch(localUrl, compare);
    } catch (const std::runtime_error&) {
        if (!differs)
            throw;
    }
    if (differs || std::fgetc(original.get()) != EOF)
        throw std::runtime_error(localUrl + " is not " + medium + ": the bytes differ after " + std::to_string(same));
    return same;
}
