#include "web/web_engine.h"

#include "launcher/pipe.h"
#include "support/processes.h"

#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace velmora::web_test {

using desktop::CommandLine;

namespace {

// Without what a desktop, on which the test may have been started, would add. Drawn without OpenGL, for there is no
// graphics card: with software in place of one, a busy machine may come to draw no frame of a video at all.
constexpr const char* kStartBrowser = R"(
    unset WAYLAND_DISPLAY
    export DISPLAY=$1 NO_AT_BRIDGE=1 WEBKIT_DISABLE_COMPOSITING_MODE=1
    exec "$2" "$3" >"$0" 2>&1)";

CommandLine xServer(const std::filesystem::path& log, int descriptor) {
    return {"sh", "-c", R"(exec Xvfb -noreset -nolisten tcp -screen 0 1024x800x24 -displayfd "$1" >"$0" 2>&1)", log,
            std::to_string(descriptor)};
}

/// A line without its end; empty at the end of what there is to read.
std::string readLine(int descriptor) {
    std::string line;
    char byte = 0;
    while (read(descriptor, &byte, 1) == 1 && byte != '\n')
        line += byte;
    return line;
}

} // namespace

Display::Display() {
    desktop::Pipe ready = desktop::makePipe();
    m_server.emplace(xServer(m_folder.path() / "log", ready.writeEnd.get()), ready.writeEnd.get());
    ready.writeEnd = desktop::FileDescriptor();
    const std::string number = readLine(ready.readEnd.get());
    if (number.empty())
        throw std::runtime_error("there is no display: " + fileBytes(m_folder.path() / "log"));
    m_name = ":" + number;
}

void Display::capture(const std::filesystem::path& file) const {
    runInShell("gst-launch-1.0 -q ximagesrc display-name=" + m_name +
               " num-buffers=1 ! videoconvert ! pngenc ! filesink location=" + file.string());
}

std::string mediaProxyPage() {
    return desktop::mediaPage() + "<script>" + fileBytes(ZUV_WEB_TEST_FUNCTIONS) + "</script>";
}

const char* const kBrowser = ZUV_PROGRAMS_DIR "/zuv-web-engine";

CommandLine browserCommand(const std::string& program, const std::string& display, const std::string& url,
                           const std::filesystem::path& log) {
    return {"sh", "-c", kStartBrowser, log, display, program, url};
}

WebEngine::WebEngine(std::string html, const std::string& query, std::string fields, const std::string& program)
    : m_page(std::move(html), std::move(fields)) {
    // Inherits stderr for want of anything else; its output is in a file.
    m_browser.emplace(browserCommand(program, m_display.name(), m_page.url(query), logFile()), STDERR_FILENO);
    if (!m_page.awaitReady())
        throw std::runtime_error("the page does not come up: " + log());
}

std::vector<pid_t> WebEngine::webProcesses() const {
    std::vector<pid_t> found;
    for (const pid_t process : processesOfGroup(m_browser->leader())) {
        if (fileBytes("/proc/" + std::to_string(process) + "/comm") == "WebKitWebProces\n") // as much as there is room
            found.push_back(process);
    }
    return found;
}

void WebEngine::keep(const std::filesystem::path& folder, const std::string& name) const {
    std::filesystem::create_directories(folder);
    m_display.capture(folder / (name + ".png"));
    std::filesystem::copy_file(logFile(), folder / (name + ".log"), std::filesystem::copy_options::overwrite_existing);
}

} // namespace velmora::web_test
