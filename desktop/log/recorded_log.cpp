#include "log/recorded_log.h"

#include "log/desktop_log.h"
#include "log/spdlog_level.h"
#include "trace/recorder/recording_writer.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/sink.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace velmora::desktop {
namespace {

using trace::RecordingWriter;

RecordingWriter* recording = nullptr;

class RecordingSink final : public spdlog::sinks::sink {
public:
    void log(const spdlog::details::log_msg& message) override {
        const int level = levelOf(message.level);
        if (!isLogged(level))
            return;
        trace::JsonLine line("line");
        line.number("level", level).text("text", std::string_view(message.payload.data(), message.payload.size()));
        recording->write(line);
    }
    void flush() override {}
    void set_pattern(const std::string&) override {}
    void set_formatter(std::unique_ptr<spdlog::formatter>) override {}
};

} // namespace

void recordDesktopLog(const char* role) {
    recording = &RecordingWriter::ofProcess(role);
    recording->begin();
    desktopLog().sinks().push_back(std::make_shared<RecordingSink>());
    std::atexit([] { recording->end(); });
}

} // namespace velmora::desktop
