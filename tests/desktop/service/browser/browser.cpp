#include "desktop/service/browser/browser.h"

#include "support/files.h"
#include "support/processes.h"

#include <unistd.h>

#include <stdexcept>

namespace velmora::desktop {

namespace {

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

} // namespace

Browser::Browser() {
    // Inherits stderr for want of anything else; its output is in a file.
    m_chromium.emplace(chromium(m_profile.path(), m_page.url()), STDERR_FILENO);
    if (!m_page.awaitReady())
        throw std::runtime_error("the page does not come up: " + fileBytes(m_profile.path() / "output"));
}

} // namespace velmora::desktop
