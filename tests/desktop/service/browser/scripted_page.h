// A page in which tests run scripts, in whatever browser opens it.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_BROWSER_SCRIPTED_PAGE_H
#define ZUV_TESTS_DESKTOP_SERVICE_BROWSER_SCRIPTED_PAGE_H

#include "base/mutex.h"
#include "desktop/service/http/scripted_server.h"

#include <chrono>
#include <optional>
#include <string>

namespace velmora::desktop {

/// The HTML of a page that plays media, with functions for scripts: page.html.
std::string mediaPage();

/// The page has an origin of its own, that of a server in this process. It asks its server for a script, runs it and
/// brings the result, again and again. One thread.
class ScriptedPage {
public:
    /// @param html the page, whose functions the scripts have.
    /// @param fields more fields of the HTTP response that has the page, each with its end of line.
    explicit ScriptedPage(std::string html = mediaPage(), std::string fields = "");
    ~ScriptedPage();
    ScriptedPage(const ScriptedPage&) = delete;
    ScriptedPage& operator=(const ScriptedPage&) = delete;

    /// For the browser to open.
    /// @param query what the page finds in its address: empty, or "?" and parameters.
    std::string url(const std::string& query = "") const { return m_server.url("/" + query); }

    /// Waits for the page to come up, for the first time or once more, also in another tab: in place of the one that
    /// was there before, whose results are ignored from then on. @return whether it comes up.
    bool awaitReady();

    /// Runs the body of an asynchronous function in the page.
    /// @return what it returned, as text; what it threw, if it did.
    std::string run(const std::string& script);

    /// As run(), for a script with which the page goes: its result might not arrive.
    void begin(const std::string& script);

private:
    bool answer(const std::string& header, TcpConnection& connection);
    std::optional<std::string> nextScript(const std::string& document, std::string result);
    std::optional<std::string> awaitResult(std::chrono::seconds patience);

    const std::string m_html;
    const std::string m_fields;
    Mutex m_mutex;
    ConditionVariable m_changed;
    std::optional<std::string> m_script ZUV_GUARDED_BY(m_mutex); ///< until the page asks for it
    std::optional<std::string> m_result ZUV_GUARDED_BY(m_mutex); ///< until the test takes it
    std::string m_document ZUV_GUARDED_BY(m_mutex);              ///< the last one that came up
    bool m_ending ZUV_GUARDED_BY(m_mutex) = false;
    ScriptedServer m_server;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_BROWSER_SCRIPTED_PAGE_H
