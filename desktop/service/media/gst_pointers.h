// Owners of GStreamer's objects.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_GST_POINTERS_H
#define ZUV_DESKTOP_SERVICE_MEDIA_GST_POINTERS_H

#include <gst/gst.h>

#include <memory>

namespace velmora::desktop {

struct GstUnref {
    void operator()(GstElement* element) const { gst_object_unref(element); }
    void operator()(GstBus* bus) const { gst_object_unref(bus); }
    void operator()(GstPad* pad) const { gst_object_unref(pad); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstMessage* message) const { gst_message_unref(message); }
    void operator()(GstIterator* iterator) const { gst_iterator_free(iterator); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(char* text) const { g_free(text); }
};
template <class T>
using Owned = std::unique_ptr<T, GstUnref>;

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_GST_POINTERS_H
