#include "browser.h"

#include "page_media.h"
#include "zuv_glib_loop.h"

#include <webkit2/webkit2.h>

#include <memory>
#include <string>

namespace {

constexpr const char* kMessages = "mediaProxy"; // as media_proxy.js calls them

std::string taken(char* text) {
    const std::unique_ptr<char, decltype(&g_free)> owned(text, g_free);
    return text == nullptr ? "" : text;
}

/// For the promise of a message that asks for a reply.
Reply replyTo(JSCValue* message, WebKitScriptMessageReply* reply) {
    const std::shared_ptr<WebKitScriptMessageReply> promise(webkit_script_message_reply_ref(reply),
                                                            webkit_script_message_reply_unref);
    const std::shared_ptr<void> context(g_object_ref(jsc_value_get_context(message)), g_object_unref);
    return Reply([promise, context](const Json::Value* value, const std::string& error) {
        if (value == nullptr) {
            webkit_script_message_reply_return_error_message(promise.get(), error.c_str());
            return;
        }
        const std::string json = Json::writeString(Json::StreamWriterBuilder(), *value);
        JSCValue* const result = jsc_value_new_from_json(static_cast<JSCContext*>(context.get()), json.c_str());
        webkit_script_message_reply_return_value(promise.get(), result);
        g_object_unref(result);
    });
}

gboolean onMessage(WebKitUserContentManager*, JSCValue* message, WebKitScriptMessageReply* reply, gpointer media) {
    Json::Value request;
    const std::string json = taken(jsc_value_to_json(message, 0));
    std::unique_ptr<Json::CharReader>(Json::CharReaderBuilder().newCharReader())
        ->parse(json.data(), json.data() + json.size(), &request, nullptr);
    static_cast<PageMedia*>(media)->handle(request, replyTo(message, reply));
    return TRUE;
}

/// Another document, or the same one again: what the last one played ends with it.
void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer media) {
    if (event == WEBKIT_LOAD_COMMITTED)
        static_cast<PageMedia*>(media)->closeAll();
}

/// The page of a tab that is closed may live on for a while.
void onDestroyed(WebKitWebView*, gpointer media) {
    static_cast<PageMedia*>(media)->closeAll();
}

void onWebProcessTerminated(WebKitWebView* view, WebKitWebProcessTerminationReason, gpointer media) {
    static_cast<PageMedia*>(media)->closeAll();
    const std::string url = webkit_web_view_get_uri(view);
    const std::string message = "<title>Ended</title><h1>The process of this page has ended</h1>"
                                "<p>What it played was stopped. The page is loaded again in a second."
                                "<meta http-equiv=refresh content=\"1; url=" +
                                taken(g_markup_escape_text(url.c_str(), -1)) + "\">";
    webkit_web_view_load_alternate_html(view, message.c_str(), url.c_str(), nullptr);
}

void onTitleChanged(WebKitWebView* view, GParamSpec*, gpointer tabs) {
    const char* const title = webkit_web_view_get_title(view);
    gtk_notebook_set_tab_label_text(static_cast<GtkNotebook*>(tabs), GTK_WIDGET(view), title == nullptr ? "" : title);
}

/// Gives the manager's pages media_proxy.js, and answers their messages.
void addMediaProxy(WebKitUserContentManager* manager, PageMedia* media) {
    char* source = nullptr;
    if (!g_file_get_contents(ZUV_MEDIA_PROXY_SCRIPT, &source, nullptr, nullptr))
        g_error("cannot read %s", ZUV_MEDIA_PROXY_SCRIPT);
    WebKitUserScript* const script =
        webkit_user_script_new(taken(source).c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
                               WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
    webkit_user_content_manager_add_script(manager, script);
    webkit_user_script_unref(script);
    g_signal_connect(manager, "script-message-with-reply-received::mediaProxy", G_CALLBACK(onMessage), media);
    webkit_user_content_manager_register_script_message_handler_with_reply(manager, kMessages, nullptr);
}

/// A page that a person did not touch may play as well.
WebKitWebsitePolicies* policies() {
    static auto* const only = webkit_website_policies_new_with_policies("autoplay", WEBKIT_AUTOPLAY_ALLOW, nullptr);
    return only;
}

void addTab(GtkNotebook* tabs, const char* url);

/// In a tab that has nothing to do with the opener's: otherwise its view would share the user content manager of the
/// opener's, and thus its PageMedia.
GtkWidget* onWindowOpened(WebKitWebView*, WebKitNavigationAction* action, gpointer tabs) {
    addTab(static_cast<GtkNotebook*>(tabs), webkit_uri_request_get_uri(webkit_navigation_action_get_request(action)));
    return nullptr;
}

void addTab(GtkNotebook* tabs, const char* url) {
    auto* const media = new PageMedia(velmora::postToGLib());
    WebKitUserContentManager* const manager = webkit_user_content_manager_new();
    addMediaProxy(manager, media);
    auto* const view = static_cast<WebKitWebView*>(
        g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", manager, "website-policies", policies(), nullptr));
    g_object_unref(manager);
    g_object_set_data_full(G_OBJECT(view), "media", media, [](gpointer data) { delete static_cast<PageMedia*>(data); });

    WebKitSettings* const settings = webkit_web_view_get_settings(view);
    webkit_settings_set_enable_write_console_messages_to_stdout(settings, TRUE);
    webkit_settings_set_javascript_can_open_windows_automatically(settings, TRUE);
    g_signal_connect(view, "load-changed", G_CALLBACK(onLoadChanged), media);
    g_signal_connect(view, "web-process-terminated", G_CALLBACK(onWebProcessTerminated), media);
    g_signal_connect(view, "create", G_CALLBACK(onWindowOpened), tabs);
    g_signal_connect(view, "destroy", G_CALLBACK(onDestroyed), media);
    g_signal_connect(view, "close", G_CALLBACK(gtk_widget_destroy), nullptr);
    g_signal_connect(view, "notify::title", G_CALLBACK(onTitleChanged), tabs);

    gtk_widget_show(GTK_WIDGET(view));
    gtk_notebook_set_current_page(tabs, gtk_notebook_append_page(tabs, GTK_WIDGET(view), nullptr));
    webkit_web_view_load_uri(view, url);
}

} // namespace

void runBrowser(const std::string& url, bool hasSandbox) {
    webkit_web_context_set_sandbox_enabled(webkit_web_context_get_default(), hasSandbox);

    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* const tabs = gtk_notebook_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 1000, 760);
    gtk_container_add(GTK_CONTAINER(window), tabs);
    g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);

    addTab(GTK_NOTEBOOK(tabs), url.c_str());
    gtk_widget_show_all(window);
    gtk_main();
}
