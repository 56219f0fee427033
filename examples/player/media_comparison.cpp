#include "media_comparison.h"

#include <httplib.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

/// Receives a download piece by piece; returns false to end it.
using Sink = std::function<bool(const char* data, std::size_t size)>;

void fetch(const std::string& url, const Sink& sink) {
    const std::size_t pathBegin = url.find('/', std::strlen("http://"));
    httplib::Client client(url.substr(0, pathBegin));
    client.set_read_timeout(5);
    int status = 0;
    const auto result = client.Get(
        pathBegin == std::string::npos ? "/" : url.substr(pathBegin),
        [&](const httplib::Response& response) {
            status = response.status;
            return status == 200;
        },
        sink);
    if (status != 0 && status != 200)
        throw std::runtime_error(url + " answers with status " + std::to_string(status));
    if (!result)
        throw std::runtime_error("cannot fetch " + url + ": " + httplib::to_string(result.error()));
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Opens the medium for reading; an http URL is downloaded to a temporary file.
File openMedium(const std::string& medium) {
    if (medium.rfind("http://", 0) != 0) {
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
