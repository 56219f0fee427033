// sample-player-test PLAYER MEDIUM: runs the player while it listens on the bus, and compares what the player prints
// with what the media service announced. Any program on the bus can listen, because every connection receives every
// event.
#include <zuv_model_access.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr std::chrono::seconds kPatience{5};

// Positions in an event: its name, its result code, the local URL.
constexpr std::size_t kName = 0;
constexpr std::size_t kCode = 1;
constexpr std::size_t kLocalUrl = 6;

/// Waits for the successful start of a medium.
class StartRecord final : public velmora::ZUVModelAccessClient {
public:
    void onModelAccessStateChanged() override {}

    void onZUVEvent(std::vector<std::string>& event) override {
        if (event.size() <= kLocalUrl || event[kName] != "started" || event[kCode] != "200")
            return;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_url = event[kLocalUrl];
        m_arrived.notify_one();
    }

    /// Waits for a start; returns the local URL of the medium that was started last, if there was one in time.
    std::optional<std::string> awaitUrl() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived.wait_for(lock, kPatience, [this] { return m_url.has_value(); });
        return m_url;
    }

private:
    std::mutex m_mutex; // guards m_url
    std::condition_variable m_arrived;
    std::optional<std::string> m_url;
};

struct Outcome {
    int status = -1;
    std::string output;
};

Outcome run(const std::string& player, const std::string& medium) {
    Outcome outcome;
    std::FILE* const pipe = popen(("'" + player + "' '" + medium + "'").c_str(), "r");
    if (pipe == nullptr)
        return outcome;
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe))
        outcome.output += static_cast<char>(byte);
    outcome.status = pclose(pipe);
    return outcome;
}

int fail(const std::string& reason) {
    std::fprintf(stderr, "sample-player-test: %s\n", reason.c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return fail("usage: sample-player-test PLAYER MEDIUM");
    StartRecord record; // declared first: it must outlive the connection that delivers to it
    velmora::ZUVModelAccess bus(&record);
    if (bus.initialize() < 0 || bus.start() < 0)
        return fail("there is no bus");

    const Outcome outcome = run(argv[1], argv[2]);

    if (outcome.status != 0)
        return fail("the player failed");
    const auto announced = record.awaitUrl();
    if (!announced)
        return fail("the service announced no start");
    if (outcome.output != *announced + "\n")
        return fail("the player printed " + outcome.output + " and not " + *announced);
    return 0;
}
