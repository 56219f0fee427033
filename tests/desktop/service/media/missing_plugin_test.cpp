#include "service/media/gst_pointers.h"
#include "service/media/gstreamer_engine.h"
#include "service/media/missing_plugin.h"
#include "service/protocol/result_code.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

class MissingPluginTest : public testing::Test {
protected:
    static void SetUpTestSuite() { gst_init(nullptr, nullptr); }

    /// @param caps null for an element, which has none.
    static std::string missing(const char* type, const char* caps, const char* name) {
        GstStructure* plugin =
            gst_structure_new("missing-plugin", "type", G_TYPE_STRING, type, "name", G_TYPE_STRING, name, nullptr);
        if (caps == nullptr) {
            gst_structure_set(plugin, "detail", G_TYPE_STRING, "videoconvert", nullptr);
        } else {
            const Owned<GstCaps> wanted(gst_caps_from_string(caps));
            gst_structure_set(plugin, "detail", GST_TYPE_CAPS, wanted.get(), nullptr);
        }
        const Owned<GstMessage> message(gst_message_new_element(nullptr, plugin));
        return missingPlugin(message.get());
    }
};

TEST_F(MissingPluginTest, IsNamedWithItsDebianPackage) {
    EXPECT_EQ(missing("decoder", "video/x-h264, profile=(string)main", "H.264 (Main Profile) decoder"),
              "H.264 (Main Profile) decoder (Debian package gstreamer1.0-libav)");
    EXPECT_EQ(missing("decoder", "audio/mpeg, mpegversion=(int)4", "MPEG-4 AAC decoder"),
              "MPEG-4 AAC decoder (Debian package gstreamer1.0-libav)");
    EXPECT_EQ(missing("decoder", "audio/mpeg, mpegversion=(int)1, layer=(int)3", "MP3 decoder"),
              "MP3 decoder (Debian package gstreamer1.0-plugins-good)");
    EXPECT_EQ(missing("decoder", "video/mpeg, mpegversion=(int)2, systemstream=(boolean)true", "MPEG-2 demuxer"),
              "MPEG-2 demuxer (Debian package gstreamer1.0-plugins-bad)");
    EXPECT_EQ(missing("decoder", "video/x-av1", "AV1 decoder"),
              "AV1 decoder (Debian package gstreamer1.0-plugins-bad)");
}

TEST_F(MissingPluginTest, OfAFormatOfFilesIsADemuxer) {
    EXPECT_EQ(missing("decoder", "video/mpegts, systemstream=(boolean)true", "MPEG-2 Transport Stream demuxer"),
              "MPEG-TS demuxer (Debian package gstreamer1.0-plugins-bad)");
    EXPECT_EQ(missing("decoder", "application/x-hls", "application/x-hls decoder"),
              "HLS demuxer (Debian package gstreamer1.0-plugins-bad)");
    EXPECT_EQ(missing("decoder", "application/dash+xml", "application/dash+xml decoder"),
              "DASH demuxer (Debian package gstreamer1.0-plugins-bad)");
}

TEST_F(MissingPluginTest, IsNamedAloneIfItsPackageIsNotKnown) {
    EXPECT_EQ(missing("decoder", "video/x-indeo, indeoversion=(int)3", "Intel Indeo 3 decoder"),
              "Intel Indeo 3 decoder");
}

TEST_F(MissingPluginTest, MayBeAnElement) {
    EXPECT_EQ(missing("element", nullptr, "GStreamer element videoconvert"), "GStreamer element videoconvert");
}

TEST_F(MissingPluginTest, IsInNoOtherMessage) {
    const Owned<GstMessage> message(gst_message_new_eos(nullptr));
    EXPECT_EQ(missingPlugin(message.get()), "");
}

/// Has GStreamer forget decoders for as long as this exists.
class Forgotten {
public:
    explicit Forgotten(GstElementFactoryListType kind)
        : m_factories(gst_element_factory_list_get_elements(kind, GST_RANK_NONE)) {
        for (GList* factory = m_factories; factory != nullptr; factory = factory->next)
            gst_registry_remove_feature(gst_registry_get(), GST_PLUGIN_FEATURE(factory->data));
    }
    ~Forgotten() {
        for (GList* factory = m_factories; factory != nullptr; factory = factory->next)
            gst_registry_add_feature(gst_registry_get(), GST_PLUGIN_FEATURE(factory->data));
        gst_plugin_feature_list_free(m_factories);
    }
    Forgotten(const Forgotten&) = delete;
    Forgotten& operator=(const Forgotten&) = delete;

private:
    GList* m_factories;
};

constexpr GstElementFactoryListType kSoundDecoders =
    GST_ELEMENT_FACTORY_TYPE_DECODER | GST_ELEMENT_FACTORY_TYPE_MEDIA_AUDIO;

std::string failureToOpenClip() {
    try {
        GstreamerEngine(std::chrono::seconds(20)).open(locateMedia(clip("clip.webm")), 0, {});
    } catch (const CommandFailure& failure) {
        EXPECT_EQ(failure.code(), ResultCode::Unplayable);
        return failure.what();
    }
    return "";
}

TEST_F(MissingPluginTest, IsWhyAMediumCannotBePlayed) {
    const Forgotten decoders(GST_ELEMENT_FACTORY_TYPE_DECODER);
    const std::string detail = failureToOpenClip();
    EXPECT_TRUE(detail.starts_with("This WebM medium needs plugins that GStreamer lacks: ")) << detail;
    for (const char* part : {"VP8 decoder (Debian package gstreamer1.0-plugins-good)",
                             "Vorbis decoder (Debian package gstreamer1.0-plugins-base)"})
        EXPECT_NE(detail.find(part), std::string::npos) << detail;
}

TEST_F(MissingPluginTest, MayBeThatOfTheFile) {
    const Forgotten demuxers(GST_ELEMENT_FACTORY_TYPE_DEMUXER);
    EXPECT_EQ(failureToOpenClip(), "This WebM medium needs plugins that GStreamer lacks: WebM demuxer (Debian package "
                                   "gstreamer1.0-plugins-good)");
}

TEST_F(MissingPluginTest, DoesNotKeepTheRestFromPlaying) {
    const Forgotten decoders(kSoundDecoders);
    EXPECT_EQ(failureToOpenClip(), "");
}

} // namespace
} // namespace velmora::desktop
