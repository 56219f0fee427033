// The lines of the desktop platform's own code, for tests that look at them.
#ifndef ZUV_TESTS_DESKTOP_LOG_CAPTURED_LOG_H
#define ZUV_TESTS_DESKTOP_LOG_CAPTURED_LOG_H

#include <memory>
#include <sstream>
#include <string>

namespace spdlog::sinks {
class sink;
}

namespace velmora::desktop {

/// What is logged while it exists, of every level. It must be created and destroyed while no other thread logs; between
/// that, lines of any thread are captured.
class CapturedLog {
public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // Neither while another thread logs.
    /// The lines, each with its level, e.g. "debug value kept".
    std::string text() const { return m_text.str(); }
    void clear() { m_text.str(""); }

private:
    std::ostringstream m_text;
    std::shared_ptr<spdlog::sinks::sink> m_sink;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_LOG_CAPTURED_LOG_H
