#ifndef ZUV_DESKTOP_BUS_SERVICE_STARTER_H
#define ZUV_DESKTOP_BUS_SERVICE_STARTER_H

#include "base/file_descriptor.h"
#include "bus/sd_bus_pointers.h"

#include <cstdint>

namespace velmora::desktop {

/// Sees to it that a service runs that answers: the bus starts it when it does not run; one that does not
/// answer a ping within 300 ms is killed, and started anew when the bus has noticed its end.
///
/// Each step is a call whose answer leads to the next step while the connection is processed; nothing waits.
/// A service that hangs before it took its name is the bus's to end: it does so after its
/// service_start_timeout, and the next begin() starts another.
///
/// Takes no lock: used and processed by one thread at a time, as the connection itself.
class ServiceStarter {
public:
    /// Asks for the service on `bus`, which outlives the answers or is followed by cancel(). Joins what is
    /// under way already. What becomes of it is logged.
    /// @return 0 or more, or what the connection failed with.
    int begin(sd_bus* bus);

    /// Forgets what is under way.
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
    SlotPointer m_call;       ///< the call of the step under way
    FileDescriptor m_process; ///< of the service that is pinged; a number might be another's by then
    bool m_replaced = false;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_SERVICE_STARTER_H
