// A headless Chromium with one page, in which tests run scripts.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_BROWSER_BROWSER_H
#define ZUV_TESTS_DESKTOP_SERVICE_BROWSER_BROWSER_H

#include "desktop/service/browser/scripted_page.h"
#include "launcher/process.h"
#include "launcher/temporary_folder.h"

#include <optional>
#include <string>

namespace velmora::desktop {

/// The page reaches 127.0.0.1 only. One thread.
class Browser {
public:
    /// Returns when the page waits for a script.
    /// @throws std::runtime_error with what the browser printed, when the page does not come up.
    Browser();

    /// As ScriptedPage::run().
    std::string run(const std::string& script) { return m_page.run(script); }

private:
    ScriptedPage m_page;
    TemporaryFolder m_profile;
    std::optional<ProcessGroup> m_chromium;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_BROWSER_BROWSER_H
