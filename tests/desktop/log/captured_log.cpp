#include "desktop/log/captured_log.h"

#include "log/desktop_log.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/ostream_sink.h>

namespace velmora::desktop {

CapturedLog::CapturedLog() : m_sink(std::make_shared<spdlog::sinks::ostream_sink_mt>(m_text)) {
    m_sink->set_pattern("%l %v");
    desktopLog().sinks().push_back(m_sink);
}

CapturedLog::~CapturedLog() {
    std::erase(desktopLog().sinks(), m_sink);
}

} // namespace velmora::desktop
