// A headless Chromium with one page, in which tests run scripts.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_BROWSER_BROWSER_H
#define ZUV_TESTS_DESKTOP_SERVICE_BROWSER_BROWSER_H

#include "base/mutex.h"
#include "desktop/service/http/scripted_server.h"
#include "launcher/process.h"
#include "launcher/temporary_folder.h"

#include <optional>
#include <string>

namespace velmora::desktop {

/// The page has an origin of its own, that of a server in this process, and reaches 127.0.0.1 only. It asks its server
/// for a script, runs it and brings the result, again and again. page.html has the functions for scripts. One thread.
class Browser {
public:
    static bool isInstalled();

    /// Returns when the page waits for a script.
    /// @throws std::runtime_error with what the browser printed, when the page does not come up.
    Browser();
    ~Browser();
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

    /// Runs the body of an asynchronous function in the page.
    /// @return what it returned, as text; what it threw, if it did.
    std::string run(const std::string& script);

private:
    bool answer(const std::string& header, TcpConnection& connection);
    std::optional<std::string> nextScript(std::string result);
    std::optional<std::string> awaitResult(std::chrono::seconds patience);

    Mutex m_mutex;
    ConditionVariable m_changed;
    std::optional<std::string> m_script ZUV_GUARDED_BY(m_mutex); ///< until the page asks for it
    std::optional<std::string> m_result ZUV_GUARDED_BY(m_mutex); ///< until the test takes it
    bool m_ending ZUV_GUARDED_BY(m_mutex) = false;
    TemporaryFolder m_profile;
    ScriptedServer m_server;
    std::optional<ProcessGroup> m_chromium;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_BROWSER_BROWSER_H
