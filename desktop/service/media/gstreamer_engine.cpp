// The pipeline of one medium, and what GStreamer reports about it.
//
// The threads of a pipeline send messages. onMessage() handles each on the thread that sends it and queues only those
// that await() waits for: the queue is not read while a medium plays, and must not grow meanwhile.
#include "service/media/gstreamer_engine.h"

#include "base/mutex.h"
#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/media/address_look.h"
#include "service/media/gst_pointers.h"
#include "service/media/missing_plugin.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::desktop {

namespace {

// Flags of playbin, which no header declares: decode video and audio, without converters, which only output needs.
constexpr unsigned int kVideo = 1U << 0;
constexpr unsigned int kAudio = 1U << 1;
constexpr unsigned int kNativeAudio = 1U << 5;
constexpr unsigned int kNativeVideo = 1U << 6;

constexpr auto kAwaited =
    static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_ASYNC_DONE | GST_MESSAGE_APPLICATION);

double seconds(GstClockTime time) {
    return static_cast<double>(time) / static_cast<double>(GST_SECOND);
}

GstClockTime clockTime(double seconds) {
    return static_cast<GstClockTime>(seconds * static_cast<double>(GST_SECOND));
}

Owned<GstElement> makeElement(const char* factory) {
    GstElement* element = gst_element_factory_make(factory, nullptr);
    if (element == nullptr)
        throw CommandFailure(ResultCode::Internal, fmt::format("GStreamer lacks the element {}", factory));
    return Owned<GstElement>(static_cast<GstElement*>(gst_object_ref_sink(element)));
}

/// Consumes its input in real time and discards it.
Owned<GstElement> makeSink() {
    Owned<GstElement> sink = makeElement("fakesink");
    g_object_set(sink.get(), "sync", TRUE, "enable-last-sample", FALSE, nullptr);
    return sink;
}

/// The format that arrives at the sink; null when nothing does.
Owned<GstCaps> capsOf(const Owned<GstElement>& sink) {
    const Owned<GstPad> pad(gst_element_get_static_pad(sink.get(), "sink"));
    return Owned<GstCaps>(gst_pad_get_current_caps(pad.get()));
}

ResultCode resultCode(const GError& error) {
    const bool reachable = error.domain != GST_RESOURCE_ERROR || error.code == GST_RESOURCE_ERROR_SEEK;
    return reachable ? ResultCode::Unplayable : ResultCode::NotFound;
}

/// GStreamer's error as a failure of the command. The first line of its debug text names the place in GStreamer's code;
/// the last of several explains the reason.
CommandFailure failureOf(GstMessage* message) {
    GError* error = nullptr;
    char* debug = nullptr;
    gst_message_parse_error(message, &error, &debug);
    const Owned<GError> ownedError(error);
    const Owned<char> ownedDebug(debug);
    const std::string_view text(debug == nullptr ? "" : debug);
    const std::size_t reason = text.rfind('\n');
    if (reason == std::string_view::npos)
        return {resultCode(*error), error->message};
    return {resultCode(*error), fmt::format("{} ({})", error->message, text.substr(reason + 1))};
}

class GstreamerPlayback final : public MediaPlayback {
public:
    GstreamerPlayback(std::string uri, MediaAddress address, std::chrono::milliseconds timeout);
    ~GstreamerPlayback() override;
    GstreamerPlayback(const GstreamerPlayback&) = delete;
    GstreamerPlayback& operator=(const GstreamerPlayback&) = delete;

    void open(std::chrono::milliseconds timeLeft, const std::stop_token& stop);
    void play();
    void seek(double position, std::stop_token stop) override;
    std::optional<int> videoHeight() const override;
    MediaAddress address() const override { return m_address; }

private:
    static GstBusSyncReply onMessage(GstBus* bus, GstMessage* message, gpointer playback);
    std::string missingPlugins() ZUV_EXCLUDES(m_mutex);
    void requireReachable(double position) const;
    void requireIntact();
    void await(std::chrono::milliseconds timeLeft, const std::stop_token& stop);

    const std::string m_uri;
    const MediaAddress m_address;
    const std::chrono::milliseconds m_timeout;
    std::optional<CommandFailure> m_failure; ///< of the pipeline, which does not recover from it
    std::atomic<bool> m_errorLogged = false;
    Mutex m_mutex;
    std::vector<std::string> m_missing ZUV_GUARDED_BY(m_mutex); ///< plugins, as missingPlugin() describes them
    Owned<GstElement> m_videoSink = makeSink();
    Owned<GstElement> m_audioSink = makeSink();
    // Not playbin3: in GStreamer 1.22 a damaged file can crash the process with it.
    Owned<GstElement> m_pipeline = makeElement("playbin");
    Owned<GstBus> m_messages{gst_element_get_bus(m_pipeline.get())};
};

GstreamerPlayback::GstreamerPlayback(std::string uri, MediaAddress address, std::chrono::milliseconds timeout)
    : m_uri(std::move(uri)), m_address(std::move(address)), m_timeout(timeout) {
    gst_bus_set_sync_handler(m_messages.get(), onMessage, this, nullptr);
    g_object_set(m_pipeline.get(), "uri", m_uri.c_str(), "flags", kVideo | kAudio | kNativeVideo | kNativeAudio,
                 "video-sink", m_videoSink.get(), "audio-sink", m_audioSink.get(), nullptr);
}

GstreamerPlayback::~GstreamerPlayback() {
    gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
}

void GstreamerPlayback::open(std::chrono::milliseconds timeLeft, const std::stop_token& stop) {
    // The result is ignored: a failure is also reported by a message, with its reason.
    gst_element_set_state(m_pipeline.get(), GST_STATE_PAUSED);
    try {
        await(timeLeft, stop);
        // A medium that ends before its first frame also becomes ready.
        if (!capsOf(m_videoSink) && !capsOf(m_audioSink))
            throw CommandFailure(ResultCode::Unplayable, "The medium has neither pictures nor sound");
    } catch (const CommandFailure& failure) {
        const std::string missing = missingPlugins();
        if (missing.empty() || failure.code() != ResultCode::Unplayable)
            throw;
        throw CommandFailure(ResultCode::Unplayable, missing);
    }
    if (const std::string missing = missingPlugins(); !missing.empty())
        logWarning("medium plays without some of its parts uri={} reason={}", inQuotes(m_uri), inQuotes(missing));
}

/// Which plugins the medium would need; empty if it has all it needs.
std::string GstreamerPlayback::missingPlugins() {
    const MutexLock lock(m_mutex);
    if (m_missing.empty())
        return "";
    const std::string format = fileFormat(m_pipeline.get());
    return fmt::format("This {} medium needs plugins that GStreamer lacks: {}", format.empty() ? "unknown" : format,
                       fmt::join(m_missing, ", "));
}

void GstreamerPlayback::play() {
    gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
}

void GstreamerPlayback::seek(double position, std::stop_token stop) {
    requireIntact();
    requireReachable(position);
    const auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
    const auto target = static_cast<gint64>(clockTime(position));
    if (!gst_element_seek_simple(m_pipeline.get(), GST_FORMAT_TIME, flags, target))
        throw CommandFailure(ResultCode::Unplayable, "The medium cannot be sought");
    await(m_timeout, stop);
}

std::optional<int> GstreamerPlayback::videoHeight() const {
    const Owned<GstCaps> caps = capsOf(m_videoSink);
    int height = 0;
    if (!caps || !gst_structure_get_int(gst_caps_get_structure(caps.get(), 0), "height", &height))
        return std::nullopt;
    return height;
}

void GstreamerPlayback::requireReachable(double position) const {
    gint64 duration = 0;
    const bool known = gst_element_query_duration(m_pipeline.get(), GST_FORMAT_TIME, &duration) != FALSE;
    const double end = seconds(static_cast<GstClockTime>(duration));
    if (known && position > end)
        throw CommandFailure(ResultCode::BadCommand,
                             fmt::format("Position {:.3f} s is behind the end, {:.3f} s", position, end));
}

/// On any thread of the pipeline.
GstBusSyncReply GstreamerPlayback::onMessage(GstBus*, GstMessage* message, gpointer playback) {
    auto& self = *static_cast<GstreamerPlayback*>(playback);
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS)
        logInfo("medium played to its end uri={}", inQuotes(self.m_uri));
    // Only the first error tells the reason; those that follow come from elements that stop because of it.
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR && !self.m_errorLogged.exchange(true))
        logWarning("medium failed uri={} reason={}", inQuotes(self.m_uri), inQuotes(failureOf(message).what()));
    if (const std::string missing = missingPlugin(message); !missing.empty()) {
        const MutexLock lock(self.m_mutex);
        if (std::ranges::find(self.m_missing, missing) == self.m_missing.end())
            self.m_missing.push_back(missing);
    }
    if ((GST_MESSAGE_TYPE(message) & kAwaited) != 0)
        return GST_BUS_PASS;
    gst_message_unref(message); // a handler that drops a message releases it
    return GST_BUS_DROP;
}

/// A seek in a medium that failed while it played would wait in vain. The other queued messages are left over from
/// earlier state changes.
void GstreamerPlayback::requireIntact() {
    while (const Owned<GstMessage> message{gst_bus_pop(m_messages.get())})
        if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR && !m_failure)
            m_failure = failureOf(message.get());
    if (m_failure)
        throw CommandFailure(*m_failure);
}

/// Waits for the end of a state change or seek, which GStreamer carries out on its own threads.
void GstreamerPlayback::await(std::chrono::milliseconds timeLeft, const std::stop_token& stop) {
    const std::stop_callback wake(stop, [this] {
        gst_bus_post(m_messages.get(), gst_message_new_application(nullptr, gst_structure_new_empty("stop")));
    });
    const auto time = static_cast<GstClockTime>(timeLeft.count()) * GST_MSECOND;
    const Owned<GstMessage> message(gst_bus_timed_pop_filtered(m_messages.get(), time, kAwaited));
    if (!message)
        throw CommandFailure(ResultCode::Unplayable, fmt::format("Not ready within {} ms", m_timeout.count()));
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_APPLICATION)
        throw interruption();
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR)
        throw CommandFailure(m_failure.emplace(failureOf(message.get())));
}

} // namespace

/// Looking and opening share the time.
std::unique_ptr<MediaPlayback> GstreamerEngine::open(const MediaLocation& location, double position,
                                                     std::stop_token stop) {
    const auto begun = std::chrono::steady_clock::now();
    const MediaAddress address =
        location.file.empty() ? lookAtAddress(location.uri, m_openTimeout, stop) : MediaAddress{};
    const auto taken = std::chrono::floor<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begun);
    auto playback = std::make_unique<GstreamerPlayback>(location.uri, address, m_openTimeout);
    playback->open(std::max(m_openTimeout - taken, std::chrono::milliseconds(0)), stop);
    if (position > 0)
        playback->seek(position, stop);
    playback->play();
    return playback;
}

} // namespace velmora::desktop
