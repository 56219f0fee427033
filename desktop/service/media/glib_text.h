// Texts that GLib allocates.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_GLIB_TEXT_H
#define ZUV_DESKTOP_SERVICE_MEDIA_GLIB_TEXT_H

#include <glib.h>

#include <memory>

namespace velmora::desktop {

struct GlibFree {
    void operator()(char* text) const { g_free(text); }
};
using GlibText = std::unique_ptr<char, GlibFree>;

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_GLIB_TEXT_H
