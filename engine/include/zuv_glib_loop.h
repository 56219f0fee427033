// Brings the outcomes of the engine kit into a GLib main loop. Header only: needs GLib, which the kit does not.
#ifndef ZUV_GLIB_LOOP_H
#define ZUV_GLIB_LOOP_H

#include "zuv_media_session.h"

#include <glib.h>

#include <functional>
#include <memory>
#include <utility>

namespace velmora {

/// For the constructor of a session whose callbacks are to run in a main context, in their order and with
/// G_PRIORITY_DEFAULT.
///
/// @param context keeps a reference; null means the default one. When it is destroyed, the tasks that it has not run
///     are dropped. A callback must not throw: the exception would have to cross GLib, which is written in C.
inline MediaSession::PostFunction postToGLib(GMainContext* context = nullptr) {
    const std::shared_ptr<GMainContext> kept(context == nullptr ? g_main_context_ref(g_main_context_default())
                                                                : g_main_context_ref(context),
                                             &g_main_context_unref);
    return [kept](std::function<void()> task) {
        using Task = std::function<void()>;
        GSource* const source = g_idle_source_new();
        g_source_set_priority(source, G_PRIORITY_DEFAULT);
        g_source_set_callback(
            source,
            [](gpointer data) -> gboolean {
                (*static_cast<Task*>(data))();
                return G_SOURCE_REMOVE;
            },
            new Task(std::move(task)), [](gpointer data) { delete static_cast<Task*>(data); });
        g_source_attach(source, kept.get());
        g_source_unref(source);
    };
}

} // namespace velmora

#endif // ZUV_GLIB_LOOP_H
