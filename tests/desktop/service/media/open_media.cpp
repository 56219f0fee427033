// open_media URL: opens a medium as the service does, and prints the log, and then what came of it: "plays HEIGHT
// FILE:ELEMENT...", with height 0 for sound alone and the demuxers and decoders in use with the files of their plugins,
// or "CODE DETAIL". For scripts/formats-table.
#include "log/desktop_log.h"
#include "service/media/gstreamer_engine.h"
#include "service/protocol/result_code.h"

#include <gst/gst.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace {

using namespace velmora::desktop;

/// "FILE:ELEMENT" of a demuxer or decoder; empty for any other element.
std::string described(GstElement* element) {
    GstElementFactory* factory = gst_element_get_factory(element);
    const std::string kind = factory == nullptr ? "" : gst_element_factory_get_metadata(factory, "klass");
    if (kind.find("Demuxer") == std::string::npos && kind.find("Decoder/") == std::string::npos)
        return "";
    GstPlugin* plugin = gst_plugin_feature_get_plugin(GST_PLUGIN_FEATURE(factory));
    const std::string file = gst_plugin_get_filename(plugin);
    gst_object_unref(plugin);
    return file + ":" + GST_OBJECT_NAME(factory);
}

std::mutex mutex;
std::map<GstElement*, std::string> elementsInUse;

/// Called when an element is added to a bin or to one inside it.
gboolean onAdded(GSignalInvocationHint*, guint, const GValue* values, gpointer) {
    auto* element = static_cast<GstElement*>(g_value_get_object(&values[2]));
    const std::lock_guard lock(mutex);
    elementsInUse[element] = described(element);
    return TRUE;
}

gboolean onRemoved(GSignalInvocationHint*, guint, const GValue* values, gpointer) {
    const std::lock_guard lock(mutex);
    elementsInUse.erase(static_cast<GstElement*>(g_value_get_object(&values[2])));
    return TRUE;
}

void watchElements() {
    g_type_class_ref(GST_TYPE_BIN); // which makes the signals known
    g_signal_add_emission_hook(g_signal_lookup("deep-element-added", GST_TYPE_BIN), 0, &onAdded, nullptr, nullptr);
    g_signal_add_emission_hook(g_signal_lookup("deep-element-removed", GST_TYPE_BIN), 0, &onRemoved, nullptr, nullptr);
}

std::string outcomeOf(const std::string& url) {
    try {
        const auto playback = GstreamerEngine(std::chrono::seconds(20)).open(locateMedia(url), 0, {});
        std::string outcome = "plays " + std::to_string(playback->videoHeight().value_or(0));
        const std::lock_guard lock(mutex);
        std::set<std::string> elements;
        for (const auto& [element, text] : elementsInUse)
            elements.insert(text);
        elements.erase("");
        for (const std::string& element : elements)
            outcome += " " + element;
        return outcome;
    } catch (const CommandFailure& failure) {
        return std::to_string(static_cast<int>(failure.code())) + " " + failure.what();
    }
}

} // namespace

int main(int argc, char** argv) {
    gst_init(nullptr, nullptr);
    watchElements();
    desktopLog().sinks() = {std::make_shared<spdlog::sinks::stdout_sink_mt>()};
    desktopLog().set_pattern("%v");
    if (argc == 2)
        std::puts(outcomeOf(argv[1]).c_str());
}
