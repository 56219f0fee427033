// What the desktop platform's bus costs: from a command, by way of a service in a process of its own, to the
// event's callback, beside what sd-bus alone needs for the same messages; how many commands go out; and how long it
// takes until there is a bus, and until the media service answers on it.
#include "bus/topic_message.h"
#include "launcher/private_bus.h"
#include "zuv_model_access.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora {
namespace {

using namespace desktop;

const std::vector<std::string> kCommand(11, "an entry of ordinary length");
constexpr int kBatch = 1000;

class Client final : public ZUVModelAccessClient {
public:
    void onModelAccessStateChanged() override {}
    void onZUVEvent(std::vector<std::string>&) override { m_events.release(); }

    void awaitEvent() { m_events.acquire(); }
    bool awaitEvent(std::chrono::milliseconds limit) { return m_events.try_acquire_for(limit); }

private:
    std::counting_semaphore<> m_events{0};
};

/// A connection to a bus on which the service runs.
struct Participant {
    Participant() {
        if (access.initialize() < 0 || access.start() < 0 || access.startService() < 0)
            throw std::runtime_error("no bus");
        client.awaitEvent();
    }

    Client client;
    ZUVModelAccess access{&client};
};

/// The same with sd-bus alone. One thread.
class BareParticipant {
public:
    BareParticipant() {
        if (openBus(m_bus) < 0 ||
            sd_bus_add_match(m_bus.get(), nullptr, topicMatchRule(kEventTopic).c_str(), onEvent, &m_events) < 0)
            throw std::runtime_error("no bus");
    }

    void publish() { sendTopicValue(m_bus.get(), kCommandTopic, kCommand); }

    void awaitEvent() {
        for (const int before = m_events; m_events == before;) {
            if (sd_bus_process(m_bus.get(), nullptr) == 0)
                sd_bus_wait(m_bus.get(), UINT64_MAX);
        }
    }

private:
    static int onEvent(sd_bus_message* message, void* events, sd_bus_error*) {
        if (readTopicValue(message))
            ++*static_cast<int*>(events);
        return 0;
    }

    BusPointer m_bus;
    int m_events = 0;
};

/// A bus of its own for each benchmark, named by DBUS_SESSION_BUS_ADDRESS.
struct Bus {
    explicit Bus(const char* programs = ZUV_BENCHMARK_PROGRAMS_DIR) : m_bus(programs) {
        setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1);
    }

    PrivateBus m_bus;
};

void roundTripThroughModelAccess(benchmark::State& state) {
    const Bus bus;
    Participant participant;
    for ([[maybe_unused]] auto _ : state) {
        participant.access.publish(kCommandTopic, kCommand);
        participant.client.awaitEvent();
    }
}
BENCHMARK(roundTripThroughModelAccess)->UseRealTime()->Unit(benchmark::kMicrosecond);

void roundTripThroughSdBusAlone(benchmark::State& state) {
    const Bus bus;
    Participant(); // starts the keeper
    BareParticipant participant;
    for ([[maybe_unused]] auto _ : state) {
        participant.publish();
        participant.awaitEvent();
    }
}
BENCHMARK(roundTripThroughSdBusAlone)->UseRealTime()->Unit(benchmark::kMicrosecond);

// The read after each batch is answered when the bus has taken the batch.
void publishOneWay(benchmark::State& state) {
    const Bus bus;
    Participant participant;
    std::vector<std::string> value;
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            participant.access.publish("a.topic.of.nobody", kCommand);
        if (participant.access.read(kEventTopic, value) < 0)
            state.SkipWithError("the bus did not keep up");
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(publishOneWay)->UseRealTime()->Unit(benchmark::kMillisecond);

void startOfTheBus(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        std::optional<Bus> bus(std::in_place);
        state.PauseTiming();
        bus.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(startOfTheBus)->UseRealTime()->Unit(benchmark::kMillisecond);

// From the request to the answer to an inspection. Nobody hears an inspection before the service is there, so it is
// repeated.
void startOfTheService(benchmark::State& state, const char* engine) {
    setenv("ZUV_SERVICE_ENGINE", engine, 1);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        std::optional<Bus> bus(std::in_place, ZUV_PROGRAMS_DIR);
        {
            Client client;
            ZUVModelAccess access(&client);
            if (access.initialize() < 0 || access.start() < 0)
                throw std::runtime_error("no bus");
            state.ResumeTiming();
            access.startService();
            do
                access.publish(kCommandTopic, {"inspect", "", "session", "", "", "", "", "", "", "", ""});
            while (!client.awaitEvent(std::chrono::milliseconds(1)));
            state.PauseTiming();
        }
        bus.reset();
        state.ResumeTiming();
    }
}
BENCHMARK_CAPTURE(startOfTheService, gstreamer, "gstreamer")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(startOfTheService, simulated, "simulated")->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
} // namespace velmora

// The service has a region in /dev/shm.
int main(int argc, char** argv) {
    velmora::desktop::enterPrivateShm();
    setenv("ZUV_LOG_LEVEL", "off", 0);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
}
