#include "desktop/service/browser/browser.h"

#include "support/awaiting.h"
#include "support/files.h"
#include "support/processes.h"

#include <unistd.h>

#include <regex>
#include <stdexcept>
#include <utility>

namespace velmora::desktop {

namespace {

// The first start on a machine reads some hundred megabytes.
constexpr std::chrono::seconds kStartPatience(60);
// page.html gives a script up after kPatience, and says so.
constexpr std::chrono::seconds kResultPatience = 2 * kPatience;

// The sandbox, which does not work for root or without user namespaces, is for pages that are less trusted than this
// one. Everything but 127.0.0.1 is unreachable, also by what the browser itself would look for in the background.
CommandLine chromium(const std::string& profile, const std::string& url) {
    return {"sh",
            "-c",
            R"(HOME=$0 DBUS_SESSION_BUS_ADDRESS=disabled: exec chromium "$@" >"$0/output" 2>&1)",
            profile,
            "--headless=new",
            "--no-sandbox",
            "--disable-gpu",
            "--user-data-dir=" + profile + "/profile",
            "--no-first-run",
            "--no-proxy-server",
            "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1",
            "--disable-background-networking",
            "--disable-component-update",
            "--disable-sync",
            "--disable-extensions",
            "--disable-breakpad",
            "--autoplay-policy=no-user-gesture-required",
            url};
}

std::string okay(const std::string& type, const std::string& body) {
    return "HTTP/1.1 200 OK\r\nCache-Control: no-store\r\nContent-Type: " + type +
           "; charset=utf-8\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string readBody(const std::string& header, TcpConnection& connection) {
    static const std::regex kLength("content-length: ([0-9]+)", std::regex::icase);
    std::smatch length;
    return std::regex_search(header, length, kLength) ? connection.read(std::stoul(length[1])) : "";
}

} // namespace

bool Browser::isInstalled() {
    return runInShell("command -v chromium").status == 0;
}

Browser::Browser() : m_server([this](const auto& header, auto& connection) { return answer(header, connection); }) {
    // Inherits stderr for want of anything else; its output is in a file.
    m_chromium.emplace(chromium(m_profile.path(), m_server.url("/")), STDERR_FILENO);
    if (awaitResult(kStartPatience) != "ready")
        throw std::runtime_error("the page does not come up: " + fileBytes(m_profile.path() / "output"));
}

Browser::~Browser() {
    {
        const MutexLock lock(m_mutex);
        m_ending = true;
        m_changed.notifyAll();
    }
    m_chromium.reset();
}

std::string Browser::run(const std::string& script) {
    {
        const MutexLock lock(m_mutex);
        m_script = script;
        m_changed.notifyAll();
    }
    return awaitResult(kResultPatience).value_or("no result");
}

std::optional<std::string> Browser::awaitResult(std::chrono::seconds patience) {
    const MutexLock lock(m_mutex);
    m_changed.waitFor(m_mutex, patience, [this]() ZUV_REQUIRES(m_mutex) { return m_result.has_value(); });
    return std::exchange(m_result, std::nullopt);
}

/// On the thread of a connection.
bool Browser::answer(const std::string& header, TcpConnection& connection) {
    if (header.starts_with("GET / "))
        return connection.write(okay("text/html", fileBytes(ZUV_TEST_BROWSER_PAGE)));
    if (!header.starts_with("POST / "))
        return connection.write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
    const std::optional<std::string> script = nextScript(readBody(header, connection));
    return script && connection.write(okay("text/plain", *script));
}

/// @return nothing when there are no more.
std::optional<std::string> Browser::nextScript(std::string result) {
    const MutexLock lock(m_mutex);
    m_result = std::move(result);
    m_changed.notifyAll();
    m_changed.wait(m_mutex, [this]() ZUV_REQUIRES(m_mutex) { return m_script.has_value() || m_ending; });
    return std::exchange(m_script, std::nullopt);
}

} // namespace velmora::desktop
