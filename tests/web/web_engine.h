// The browser of examples/web-engine, on a display of its own, with pages in which tests run scripts.
#ifndef ZUV_TESTS_WEB_WEB_ENGINE_H
#define ZUV_TESTS_WEB_WEB_ENGINE_H

#include "desktop/service/browser/scripted_page.h"
#include "launcher/process.h"
#include "launcher/temporary_folder.h"
#include "support/files.h"

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora::web_test {

/// A display that nobody sees, with nothing on it.
class Display {
public:
    /// Returns when programs can use the display.
    /// @throws std::runtime_error when it does not come up.
    Display();

    /// As in the environment variable DISPLAY.
    const std::string& name() const { return m_name; }

    /// Writes what is on it to a PNG file.
    void capture(const std::filesystem::path& file) const;

private:
    desktop::TemporaryFolder m_folder;
    std::optional<desktop::ProcessGroup> m_server;
    std::string m_name;
};

/// The path of the browser.
extern const char* const kBrowser;

/// A browser with a page, on a display.
/// @param log the file for what the browser and its pages print.
desktop::CommandLine browserCommand(const std::string& program, const std::string& display, const std::string& url,
                                    const std::filesystem::path& log);

/// For a ScriptedPage: a page with functions for scripts that use mediaProxy.
std::string mediaProxyPage();

/// The browser, and the page that it opens first. Its bus is that of the environment. One thread.
class WebEngine {
public:
    /// Returns when the page waits for a script.
    /// @param html, query, fields as for ScriptedPage.
    /// @param program the browser.
    /// @throws std::runtime_error with what the browser printed, when the page does not come up.
    explicit WebEngine(std::string html = mediaProxyPage(), const std::string& query = "", std::string fields = "",
                       const std::string& program = kBrowser);

    desktop::ScriptedPage& page() { return m_page; }

    /// The processes in which its pages run.
    std::vector<pid_t> webProcesses() const;

    /// What the browser and its pages have printed.
    std::string log() const { return fileBytes(logFile()); }

    /// Keeps what there is to see: NAME.png, and NAME.log with what the browser and its pages have printed.
    void keep(const std::filesystem::path& folder, const std::string& name) const;

private:
    std::filesystem::path logFile() const { return m_folder.path() / "log"; }

    desktop::ScriptedPage m_page;
    desktop::TemporaryFolder m_folder;
    Display m_display;
    std::optional<desktop::ProcessGroup> m_browser;
};

} // namespace velmora::web_test

#endif // ZUV_TESTS_WEB_WEB_ENGINE_H
