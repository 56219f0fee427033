#include "support/log_threads.h"

#include "csp_debug.h"

#include <algorithm>
#include <thread>

namespace velmora {
namespace {

constexpr CspDebugLevel kMilestone = {{(0x5FU << 16) | 1U, 0, 0}};

// Lines of this length would mix if a platform put them out in pieces.
const std::string& filling() {
    static const std::string text(300, 'x');
    return text;
}

} // namespace

void logFromThreads(int threads, int lines) {
    std::vector<std::jthread> running;
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back([thread, lines] {
            for (int line = 0; line < lines; ++line)
                if (cspDebugCheckLevelGetFrameAndChunk(&kMilestone) != 0)
                    cspDebugOutput0("<%d %d %s>\n", thread, line, filling().c_str());
        });
}

std::vector<std::string> linesFromThreads(int threads, int lines) {
    std::vector<std::string> expected;
    for (int thread = 0; thread < threads; ++thread)
        for (int line = 0; line < lines; ++line)
            expected.push_back("<" + std::to_string(thread) + " " + std::to_string(line) + " " + filling() + ">");
    std::sort(expected.begin(), expected.end());
    return expected;
}

} // namespace velmora
