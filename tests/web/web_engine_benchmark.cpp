// What a start takes in the browser of examples/web-engine, from the page's call to the video's "playing", and who is
// kept busy by it; and what two tabs do that start at the same moment.
#include "bus/topic_message.h"
#include "launcher/private_bus.h"
#include "support/awaiting.h"
#include "support/bus_peer.h"
#include "support/files.h"
#include "support/processes.h"
#include "support/test_files.h"
#include "web/web_engine.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velmora::web_test {
namespace {

using desktop::ScriptedPage;

constexpr int kStarts = 20;
constexpr int kTimes = 5;
constexpr int kTwoTabRuns = 20;

// With which a page is isolated from other origins, and then has a finer clock.
constexpr const char* kIsolated = "Cross-Origin-Opener-Policy: same-origin\r\n"
                                  "Cross-Origin-Embedder-Policy: require-corp\r\n";

std::string benchmarkPage() {
    return mediaProxyPage() + "<script>" + fileBytes(ZUV_WEB_BENCHMARK_FUNCTIONS) + "</script>";
}

double median(std::vector<double> numbers) {
    std::ranges::sort(numbers);
    return numbers.at(numbers.size() / 2);
}

std::string medium(const std::string& colour) {
    return "'" + clip(colour + ".webm").string() + "'";
}

/// What the browser has printed about itself.
struct Observations {
    explicit Observations(const std::string& log) {
        std::istringstream lines(log);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string observer;
            std::string what;
            words >> observer >> what;
            if (observer != "observer:")
                continue;
            if (std::string url; what == "outcome" && words >> url)
                words >> outcomes[url];
            else if (double busy = 0; words >> busy >> what)
                longestBusy[what] = std::max(longestBusy[what], busy);
        }
    }

    std::map<std::string, double> outcomes;    ///< times, by local URL
    std::map<std::string, double> longestBusy; ///< milliseconds, by kind
};

/// The times of starts in milliseconds, step by step.
struct Starts {
    std::vector<double> library;
    std::vector<double> toPage;
    std::vector<double> engine;
    std::vector<double> whole;
};

/// A browser with a page, which plays.
class Benchmark {
public:
    Benchmark() { run("proxy = await mediaProxy.create(); return ''"); }

    void run() {
        std::array<double, 1> load{};
        getloadavg(load.data(), 1);
        std::printf("load of the machine in the last minute: %.2f\n", load.at(0));
        std::printf("first start, with that of the service: %.0f ms\n", measureStarts(1).whole.at(0));
        printStarts();
        printBlocks();
    }

private:
    std::string run(const std::string& script) { return m_engine.page().run(script); }

    Starts measureStarts(int count) {
        const std::vector<std::string> colours = {"green", "magenta", "cyan"};
        std::vector<std::vector<double>> pages; // called, resolved, playing
        std::vector<std::string> urls;
        for (int i = 0; i < count; ++i) {
            const std::string& colour = colours.at(static_cast<std::size_t>(i) % colours.size());
            std::istringstream words(run("return (await timedStart(" + medium(colour) + ")).join(' ')"));
            pages.emplace_back(3);
            urls.emplace_back();
            if (!(words >> pages.back()[0] >> pages.back()[1] >> pages.back()[2] >> urls.back()))
                throw std::runtime_error("no times, but: " + words.str());
        }
        const Observations observed(m_engine.log());
        Starts starts;
        for (std::size_t i = 0; i < urls.size(); ++i) {
            const double outcome = observed.outcomes.at(urls[i]);
            starts.library.push_back(outcome - pages[i][0]);
            starts.toPage.push_back(pages[i][1] - outcome);
            starts.engine.push_back(pages[i][2] - pages[i][1]);
            starts.whole.push_back(pages[i][2] - pages[i][0]);
        }
        return starts;
    }

    void printStarts() {
        const Starts starts = measureStarts(kStarts);
        std::printf("a start while another film plays, medians of %d:\n"
                    "  %6.2f ms  library: the page's call until the kit's callback\n"
                    "  %6.2f ms  callback to page: until the promise is resolved\n"
                    "  %6.2f ms  engine: src is set, until playing\n"
                    "  %6.2f ms  altogether\n",
                    kStarts, median(starts.library), median(starts.toPage), median(starts.engine),
                    median(starts.whole));
    }

    void printBlocks() {
        const std::string aSecond = "await new Promise(resolve => setTimeout(resolve, 1000))";
        const std::size_t before = m_engine.log().size();
        std::printf("longest block of the page's main thread, of %d times:\n", kTimes);
        printLongestBlock("a story", "await story(" + medium("red-then-blue") + ", " + medium("green") + ")");
        Observations observed(m_engine.log().substr(before));
        printLongestBlock("a second in which the video plays on", aSecond);
        run("document.body.replaceChildren()");
        printLongestBlock("20 starts without a video",
                          "for (let i = 0; i < 20; ++i) await proxy.start(" + medium("green") + ")");
        printLongestBlock("a second without a video", aSecond);
        std::printf("longest turn of the browser's main loop in the stories:\n"
                    "  %6.2f ms  with a request for the kit or an outcome in it\n"
                    "  %6.2f ms  without\n",
                    observed.longestBusy["kit"], observed.longestBusy["engine"]);
    }

    void printLongestBlock(const char* what, const std::string& action) {
        double longest = 0;
        for (int i = 0; i < kTimes; ++i)
            longest = std::max(longest, std::stod(run("return longestBlock(async () => { " + action + " })")));
        std::printf("  %6.2f ms  %s\n", longest, what);
    }

    WebEngine m_engine{benchmarkPage(), "", kIsolated, ZUV_OBSERVED_WEB_ENGINE};
};

/// Hears on the bus which creations of objects were under way at the same time. One thread.
class CreationObserver {
public:
    CreationObserver() {
        if (desktop::openBus(m_bus) < 0)
            throw std::runtime_error("no bus for the observer");
        for (const char* const topic : {desktop::kCommandTopic, desktop::kEventTopic})
            sd_bus_add_match(m_bus.get(), nullptr, desktop::topicMatchRule(topic).c_str(), onPublished, this);
    }

    /// @return how many creations heard that another object was created before their own was, since the last call.
    int foreignCreations() {
        while (sd_bus_process(m_bus.get(), nullptr) > 0)
            continue;
        return std::exchange(m_foreign, 0);
    }

private:
    static int onPublished(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& self = *static_cast<CreationObserver*>(data);
        const auto published = desktop::readTopicValue(message);
        if (!published || published->values.size() < 3)
            return 0;
        const std::string& request = published->values[2];
        if (published->values[0] == "create")
            self.m_pending.insert(request);
        if (published->values[0] == "created" && self.m_pending.erase(request) > 0)
            self.m_foreign += static_cast<int>(self.m_pending.size());
        return 0;
    }

    desktop::BusPointer m_bus;
    std::set<std::string> m_pending; // requests
    int m_foreign = 0;
};

/// Two tabs that start a film each at the same moment, again and again.
class TwoTabs {
public:
    TwoTabs() {
        m_engine.page().run("open('" + m_second.url() + "')");
        if (!m_second.awaitReady())
            throw std::runtime_error("the second tab does not come up");
    }

    void run(bool isServiceRunning) {
        int foreign = 0;
        int own = 0;
        for (int i = 0; i < kTwoTabRuns; ++i) {
            if (!isServiceRunning)
                endService();
            own += startBoth() ? 1 : 0;
            foreign += m_creations.foreignCreations();
        }
        std::printf("two tabs that start at the same moment, %s: in %d of %d runs each shows its own film; "
                    "%d of %d creations heard another's answer first\n",
                    isServiceRunning ? "service running" : "service not running", own, kTwoTabRuns, foreign,
                    2 * kTwoTabRuns);
    }

private:
    static void endService() {
        if (sendSignal(BusPeer().processOf(desktop::kServiceName), SIGKILL))
            eventually([] { return !BusPeer().isOwned(desktop::kServiceName); });
    }

    /// @return whether each shows its own film.
    bool startBoth() {
        const auto time = std::chrono::system_clock::now() + std::chrono::milliseconds(300);
        const std::string at =
            std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count());
        const auto script = [&](const char* colour) { return "return startAt(" + at + ", " + medium(colour) + ")"; };
        auto second = std::async(std::launch::async, [&] { return m_second.run(script("cyan")); });
        const std::string first = m_engine.page().run(script("green"));
        return second.get() == "cyan" && first == "green";
    }

    WebEngine m_engine{benchmarkPage()};
    ScriptedPage m_second{benchmarkPage()};
    CreationObserver m_creations;
};

void run() {
    Benchmark().run();
    TwoTabs tabs;
    tabs.run(true);
    tabs.run(false);
}

} // namespace
} // namespace velmora::web_test

int main() {
    velmora::desktop::enterPrivateShm();
    const velmora::desktop::PrivateBus bus(ZUV_PROGRAMS_DIR);
    setenv(velmora::desktop::kBusAddressVariable, bus.address().c_str(), 1);
    setenv("ZUV_LOG_LEVEL", "off", 0);
    velmora::web_test::run();
}
