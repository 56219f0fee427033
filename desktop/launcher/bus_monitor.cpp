#include "launcher/bus_monitor.h"

#include "base/system_error.h"
#include "bus/bus_daemon.h"
#include "bus/topic_message.h"
#include "trace/recorder/recording_writer.h"

#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace velmora::desktop {
namespace {

using trace::JsonLine;
using trace::RecordingWriter;

constexpr const char* kMonitoringInterface = "org.freedesktop.DBus.Monitoring";
constexpr uint32_t kNoFlags = 0;

const char* nameOf(uint8_t type) {
    switch (type) {
    case SD_BUS_MESSAGE_SIGNAL:
        return "signal";
    case SD_BUS_MESSAGE_METHOD_CALL:
        return "call";
    case SD_BUS_MESSAGE_METHOD_RETURN:
        return "return";
    default:
        return "error";
    }
}

void addIfThere(JsonLine& line, const char* name, const char* value) {
    if (value != nullptr)
        line.text(name, value);
}

void addHeader(JsonLine& line, sd_bus_message* message) {
    uint8_t type = 0;
    sd_bus_message_get_type(message, &type);
    line.text("type", nameOf(type));
    addIfThere(line, "sender", sd_bus_message_get_sender(message));
    addIfThere(line, "destination", sd_bus_message_get_destination(message));
    addIfThere(line, "path", sd_bus_message_get_path(message));
    addIfThere(line, "interface", sd_bus_message_get_interface(message));
    addIfThere(line, "member", sd_bus_message_get_member(message));
    uint64_t number = 0;
    if (sd_bus_message_get_cookie(message, &number) >= 0)
        line.number("serial", static_cast<int64_t>(number));
    if (sd_bus_message_get_reply_cookie(message, &number) >= 0)
        line.number("reply", static_cast<int64_t>(number));
    if (const sd_bus_error* const error = sd_bus_message_get_error(message))
        addIfThere(line, "error", error->name);
}

/// The message's arguments that are strings.
void addStrings(JsonLine& line, sd_bus_message* message) {
    line.beginTexts("strings");
    char type = 0;
    const char* contents = nullptr;
    while (sd_bus_message_peek_type(message, &type, &contents) > 0) {
        const char* text = nullptr;
        const bool isText = std::string_view("sog").find(type) != std::string_view::npos;
        const int result =
            isText ? sd_bus_message_read_basic(message, type, &text) : sd_bus_message_skip(message, nullptr);
        if (result < 0)
            break;
        if (isText)
            line.addText(text);
    }
    line.endTexts();
}

void record(sd_bus_message* message) {
    JsonLine line("bus");
    addHeader(line, message);
    const auto published = readTopicValue(message);
    if (published) {
        line.text("topic", published->topic).texts("values", published->values);
    } else {
        sd_bus_message_rewind(message, 1);
        addStrings(line, message);
    }
    RecordingWriter::ofProcess(trace::role::kLauncher).write(line);
}

/// What sd-bus says itself, when the bus has ended.
bool isLocal(sd_bus_message* message) {
    return std::string_view(textOf(sd_bus_message_get_sender(message))) == "org.freedesktop.DBus.Local";
}

void recordUntilTheEnd(sd_bus* bus) {
    for (;;) {
        sd_bus_message* taken = nullptr;
        const int result = sd_bus_process(bus, &taken);
        const MessagePointer message(taken);
        if (result < 0)
            return;
        if (taken != nullptr && !isLocal(taken))
            record(taken);
        if (result == 0)
            sd_bus_wait(bus, UINT64_MAX);
    }
}

BusPointer openMonitor(const std::string& address) {
    sd_bus* opened = nullptr;
    requireSuccess(sd_bus_new(&opened), "monitor of the bus");
    BusPointer bus(opened);
    requireSuccess(sd_bus_set_address(opened, address.c_str()), "monitor of the bus");
    requireSuccess(sd_bus_set_bus_client(opened, 1), "monitor of the bus");
    requireSuccess(sd_bus_set_monitor(opened, 1), "monitor of the bus");
    requireSuccess(sd_bus_start(opened), "monitor of the bus");
    requireSuccess(sd_bus_call_method(opened, kDaemonName, kDaemonPath, kMonitoringInterface, "BecomeMonitor", nullptr,
                                      nullptr, "asu", 0, kNoFlags),
                   "the bus cannot be watched");
    return bus;
}

} // namespace

BusMonitor::BusMonitor(const std::string& address)
    : m_bus(openMonitor(address)), m_thread([bus = m_bus.get()] { recordUntilTheEnd(bus); }) {}

} // namespace velmora::desktop
