// The fixture of tests about responses: a server with a file.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_HTTP_SERVED_FILM_H
#define ZUV_TESTS_DESKTOP_SERVICE_HTTP_SERVED_FILM_H

#include "service/http/media_server.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace velmora::desktop {

/// Bytes that differ in each part, so that a test notices wrong offsets.
inline std::string manyBytes(std::size_t size = 200'000) {
    std::string bytes(size, '\0');
    for (std::uint32_t i = 0; i < size / sizeof i; ++i)
        std::memcpy(&bytes[i * sizeof i], &i, sizeof i);
    return bytes;
}

/// Time limits that a test can wait for.
inline ServingLimits shortLimits() {
    ServingLimits limits;
    limits.request = limits.connect = limits.firstByte = std::chrono::milliseconds(200);
    return limits;
}

class ServedFilm : public testing::Test {
protected:
    explicit ServedFilm(const ServingLimits& limits = {}) : m_server(limits) {}

    std::string urlOf(const std::string& path) const {
        const std::string url = m_medium.url();
        return url.substr(0, url.rfind('/')) + path;
    }

    const std::string m_bytes = manyBytes();
    TemporaryFolder m_folder;
    const std::filesystem::path m_film = addFile(m_folder, "film.webm", m_bytes);
    MediaServer m_server;
    const ServedMedium m_medium{m_server, {"", m_film}};
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_HTTP_SERVED_FILM_H
