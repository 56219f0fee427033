// What the desktop platform's bus costs: from a command, by way of a service in a process of its own, to the
// event's callback, beside what sd-bus alone needs for the same messages; and how many commands go out.
#include "private_bus.h"
#include "topic_message.h"
#include "zuv_model_access.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
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
        if (openBus(m_bus) < 0 || sd_bus_add_match(m_bus.get(), nullptr, topicMatchRule(kEventTopic).c_str(),
                                                   onEvent, &m_events) < 0)
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
    Bus() { setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1); }

    PrivateBus m_bus{ZUV_BENCHMARK_PROGRAMS_DIR};
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
    { const Participant starter; }
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

} // namespace
} // namespace velmora

BENCHMARK_MAIN();
