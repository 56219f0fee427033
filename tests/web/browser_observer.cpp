// Linked into the browser for web_engine_benchmark: prints when outcomes go to a page, and how long its main loop is
// busy.
//
//     observer: outcome URL MS     the outcome of a start is handed to the engine; milliseconds since 1970
//     observer: busy MS KIND       from one wait of the main loop to the next; KIND is "kit" if requests of pages were
//                                  handed to the kit meanwhile, or outcomes to the engine, else "engine"
//
// It takes the place of two functions of WebKitGTK, which it then calls.
#include <dlfcn.h>
#include <unistd.h>
#include <webkit2/webkit2.h>

#include <chrono>
#include <cstdio>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Of the main thread.
bool hasUsedKit = false;
Clock::time_point busySince = Clock::now();

gint waitForEvents(GPollFD* descriptors, guint count, gint timeout) {
    const double busy = Milliseconds(Clock::now() - busySince).count();
    if (hasUsedKit || busy > 1)
        dprintf(STDOUT_FILENO, "observer: busy %.3f %s\n", busy, hasUsedKit ? "kit" : "engine");
    const gint result = g_poll(descriptors, count, timeout);
    hasUsedKit = false;
    busySince = Clock::now();
    return result;
}

__attribute__((constructor)) void observeMainLoop() {
    g_main_context_set_poll_func(g_main_context_default(), waitForEvents);
}

} // namespace

/// Called for each request of a page.
WebKitScriptMessageReply* webkit_script_message_reply_ref(WebKitScriptMessageReply* reply) {
    static const auto next = reinterpret_cast<decltype(&webkit_script_message_reply_ref)>(dlsym(RTLD_NEXT, __func__));
    hasUsedKit = true;
    return next(reply);
}

/// Called for each success; that of a start is the only text.
void webkit_script_message_reply_return_value(WebKitScriptMessageReply* reply, JSCValue* value) {
    static const auto next =
        reinterpret_cast<decltype(&webkit_script_message_reply_return_value)>(dlsym(RTLD_NEXT, __func__));
    const Milliseconds now = std::chrono::system_clock::now().time_since_epoch();
    hasUsedKit = true;
    if (jsc_value_is_string(value)) {
        const std::unique_ptr<char, decltype(&g_free)> url(jsc_value_to_string(value), g_free);
        dprintf(STDOUT_FILENO, "observer: outcome %s %.3f\n", url.get(), now.count());
    }
    next(reply, value);
}
