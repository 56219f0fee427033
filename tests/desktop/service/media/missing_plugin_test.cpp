#include "service/media/gst_pointers.h"
#include "service/media/gstreamer_engine.h"
#include "service/media/missing_plugin.h"
#include "service/protocol/result_code.h"
#include "support/test_files.h"

#include <gst/pbutils/pbutils.h>
#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

class MissingPluginTest : public testing::Test {
protected:
    static void SetUpTestSuite() { gst_init(nullptr, nullptr); }

    static std::string missingFor(const char* caps) {
        const Owned<GstElement> element(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
        const Owned<GstCaps> wanted(gst_caps_from_string(caps));
        const Owned<GstMessage> message(gst_missing_decoder_message_new(element.get(), wanted.get()));
        return missingPlugin(message.get());
    }
};

TEST_F(MissingPluginTest, IsNamedWithItsDebianPackage) {
    EXPECT_EQ(missingFor("video/x-h264, profile=(string)main"),
              "H.264 (Main Profile) decoder (Debian package gstreamer1.0-libav)");
    EXPECT_EQ(missingFor("audio/mpeg, mpegversion=(int)4, stream-format=(string)raw"),
              "MPEG-4 AAC decoder (Debian package gstreamer1.0-libav)");
    EXPECT_EQ(missingFor("audio/mpeg, mpegversion=(int)1, layer=(int)3"),
              "MPEG-1 Layer 3 (MP3) decoder (Debian package gstreamer1.0-plugins-good)");
    EXPECT_EQ(missingFor("video/mpegts, systemstream=(boolean)true"),
              "MPEG-2 Transport Stream demuxer (Debian package gstreamer1.0-plugins-bad)");
    EXPECT_EQ(missingFor("video/mpeg, mpegversion=(int)2, systemstream=(boolean)true"),
              "MPEG-2 System Stream demuxer (Debian package gstreamer1.0-plugins-bad)");
    EXPECT_EQ(missingFor("application/x-hls"), "HLS demuxer (Debian package gstreamer1.0-plugins-bad)");
    EXPECT_EQ(missingFor("application/dash+xml"), "DASH demuxer (Debian package gstreamer1.0-plugins-bad)");
    EXPECT_EQ(missingFor("video/x-av1"), "AV1 decoder (Debian package gstreamer1.0-plugins-bad)");
}

TEST_F(MissingPluginTest, IsNamedAloneIfItsPackageIsNotKnown) {
    EXPECT_EQ(missingFor("video/x-indeo, indeoversion=(int)3"), "Intel Indeo 3 decoder");
}

TEST_F(MissingPluginTest, MayBeAnElement) {
    const Owned<GstElement> element(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    const Owned<GstMessage> message(gst_missing_element_message_new(element.get(), "videoconvert"));
    EXPECT_NE(missingPlugin(message.get()).find("videoconvert"), std::string::npos) << missingPlugin(message.get());
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
