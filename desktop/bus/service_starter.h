// Starting the service, and replacing one that hangs.
#ifndef ZUV_DESKTOP_BUS_SERVICE_STARTER_H
#define ZUV_DESKTOP_BUS_SERVICE_STARTER_H

#include "base/file_descriptor.h"
#include "bus/sd_bus_pointers.h"

#include <cstdint>

namespace velmora::desktop {

/// Makes sure that a responsive service runs: the bus starts it if it does not run; one that does not answer a ping
/// within 300 ms is killed, and restarted once the bus has noticed its end.
///
/// Each step is an asynchronous call, whose answer triggers the next step while the connection is processed. A service
/// that hangs before it takes its name is left to the bus, which gives it up after its service_start_timeout; the next
/// begin() then starts another.
///
/// Not thread-safe, as the connection itself: one thread at a time.
class ServiceStarter {
public:
    /// Begins the first step, unless steps are in progress already. The outcome is logged.
    /// @param bus must stay valid until the outcome is logged or cancel() is called.
    /// @return 0 or more, or the connection's error.
    int begin(sd_bus* bus);

    /// Abandons the step in progress.
    void cancel() { m_call.reset(); }

private:
    using Step = void (ServiceStarter::*)(sd_bus_message* answer);

    int askForStart();
    void afterStart(sd_bus_message* answer);
    void askForProcess();
    void afterProcess(sd_bus_message* answer);
    void afterPing(sd_bus_message* answer);
    void killService();
    void startAnother(sd_bus_message* answer);

    template <Step step>
    int call(sd_bus_message* request, uint64_t timeout);
    template <Step step>
    int ping(uint64_t timeout);
    template <Step step>
    static int onAnswer(sd_bus_message* answer, void* userdata, sd_bus_error*) noexcept;

    sd_bus* m_bus = nullptr;
    SlotPointer m_call;       ///< of the step in progress
    FileDescriptor m_process; ///< pidfd of the pinged service: its number may be reused before it is killed
    bool m_replaced = false;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_SERVICE_STARTER_H
