#include "desktop/service/browser/scripted_page.h"

#include "support/awaiting.h"
#include "support/files.h"

#include <regex>
#include <utility>

namespace velmora::desktop {

namespace {

// The first start on a machine reads some hundred megabytes.
constexpr std::chrono::seconds kStartPatience(60);

// scripted_page.js gives a script up before, and says so.
constexpr std::chrono::seconds kResultPatience(40);

std::string okay(const std::string& type, const std::string& body, const std::string& fields = "") {
    return "HTTP/1.1 200 OK\r\nCache-Control: no-store\r\nContent-Type: " + type +
           "; charset=utf-8\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + fields + "\r\n" + body;
}

std::string readBody(const std::string& header, TcpConnection& connection) {
    static const std::regex kLength("content-length: ([0-9]+)", std::regex::icase);
    std::smatch length;
    return std::regex_search(header, length, kLength) ? connection.read(std::stoul(length[1])) : "";
}

} // namespace

std::string mediaPage() {
    return fileBytes(ZUV_TEST_BROWSER_DIR "/page.html");
}

ScriptedPage::ScriptedPage(std::string html, std::string fields)
    : m_html(std::move(html) + "<script>" + fileBytes(ZUV_TEST_BROWSER_DIR "/scripted_page.js") + "</script>"),
      m_fields(std::move(fields)),
      m_server([this](const auto& header, auto& connection) { return answer(header, connection); }) {}

ScriptedPage::~ScriptedPage() {
    const MutexLock lock(m_mutex);
    m_ending = true;
    m_changed.notifyAll();
}

bool ScriptedPage::awaitReady() {
    return awaitResult(kStartPatience) == "ready";
}

std::string ScriptedPage::run(const std::string& script) {
    begin(script);
    return awaitResult(kResultPatience).value_or("no result");
}

void ScriptedPage::begin(const std::string& script) {
    const MutexLock lock(m_mutex);
    m_script = script;
    m_changed.notifyAll();
}

std::optional<std::string> ScriptedPage::awaitResult(std::chrono::seconds patience) {
    const MutexLock lock(m_mutex);
    m_changed.waitFor(m_mutex, patience, [this]() ZUV_REQUIRES(m_mutex) { return m_result.has_value(); });
    return std::exchange(m_result, std::nullopt);
}

/// On the thread of a connection.
bool ScriptedPage::answer(const std::string& header, TcpConnection& connection) {
    if (header.starts_with("GET / ") || header.starts_with("GET /?"))
        return connection.write(okay("text/html", m_html, m_fields));
    if (!header.starts_with("POST /"))
        return connection.write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
    const std::string document = header.substr(0, header.find(" HTTP/"));
    const std::optional<std::string> script = nextScript(document, readBody(header, connection));
    return script && connection.write(okay("text/plain", *script));
}

/// @return nothing when there are no more, or the page has come up once more and asks in place of this document.
std::optional<std::string> ScriptedPage::nextScript(const std::string& document, std::string result) {
    const MutexLock lock(m_mutex);
    if (result == "ready")
        m_document = document;
    const auto isLeft = [&]() ZUV_REQUIRES(m_mutex) { return m_document != document; };
    if (isLeft())
        return std::nullopt;
    m_result = std::move(result);
    m_changed.notifyAll();
    m_changed.wait(m_mutex, [&]() ZUV_REQUIRES(m_mutex) { return m_script.has_value() || m_ending || isLeft(); });
    return isLeft() ? std::nullopt : std::exchange(m_script, std::nullopt);
}

} // namespace velmora::desktop
