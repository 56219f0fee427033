// A window of WebKitGTK views, whose pages have mediaProxy.
#ifndef ZUV_EXAMPLES_WEB_ENGINE_BROWSER_H
#define ZUV_EXAMPLES_WEB_ENGINE_BROWSER_H

#include <string>

/// Opens a window with a page, and returns when it is closed. A page opens others, each in a tab, by window.open().
/// @param hasSandbox whether the engine keeps its web processes in a sandbox, from which the platform's bus cannot be
///     reached.
void runBrowser(const std::string& url, bool hasSandbox);

#endif // ZUV_EXAMPLES_WEB_ENGINE_BROWSER_H
