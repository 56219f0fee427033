#include "bus/service_starter.h"

#include "bus/bus_daemon.h"
#include "bus/topic_message.h"
#include "log/desktop_log.h"

#include <cerrno>
#include <csignal>
#include <cstring>

// glibc 2.36 declares these functions without extern "C".
extern "C" {
#include <sys/pidfd.h>
}

namespace velmora::desktop {
namespace {

constexpr const char* kPeerInterface = "org.freedesktop.DBus.Peer";
constexpr uint32_t kAlreadyRunning = 2; // of StartServiceByName

constexpr uint64_t kDefaultTimeout = 0; // the connection's
constexpr uint64_t kPingMicroseconds = 300'000;
constexpr uint64_t kEndMicroseconds = 2'000'000;

uint32_t numberIn(sd_bus_message* answer) {
    uint32_t number = 0;
    sd_bus_message_read(answer, "u", &number);
    return number;
}

MessagePointer newCall(sd_bus* bus, const char* destination, const char* path, const char* interface,
                       const char* method) {
    sd_bus_message* created = nullptr;
    sd_bus_message_new_method_call(bus, &created, destination, path, interface, method);
    return MessagePointer(created);
}

} // namespace

int ServiceStarter::begin(sd_bus* bus) {
    if (m_call != nullptr)
        return 0;
    m_bus = bus;
    m_replaced = false;
    return askForStart();
}

int ServiceStarter::askForStart() {
    const MessagePointer request = newCall(m_bus, kDaemonName, kDaemonPath, kDaemonName, kStartMethod);
    sd_bus_message_append(request.get(), "su", kServiceName, kStartFlags);
    return call<&ServiceStarter::afterStart>(request.get(), kDefaultTimeout);
}

void ServiceStarter::afterStart(sd_bus_message* answer) {
    if (const sd_bus_error* error = sd_bus_message_get_error(answer))
        logError("service not started: error={} text={}", textOf(error->name), textOf(error->message));
    else if (numberIn(answer) == kAlreadyRunning && !m_replaced)
        askForProcess();
    else
        logDebug("service runs: name={}", kServiceName);
}

// Asked before the ping. When the ping is not answered, it is then the service that hangs: the bus has just answered.
void ServiceStarter::askForProcess() {
    const MessagePointer request = newCall(m_bus, kDaemonName, kDaemonPath, kDaemonName, "GetConnectionUnixProcessID");
    sd_bus_message_append(request.get(), "s", kServiceName);
    call<&ServiceStarter::afterProcess>(request.get(), kDefaultTimeout);
}

void ServiceStarter::afterProcess(sd_bus_message* answer) {
    m_process = FileDescriptor(pidfd_open(static_cast<pid_t>(numberIn(answer)), 0));
    ping<&ServiceStarter::afterPing>(kPingMicroseconds);
}

void ServiceStarter::afterPing(sd_bus_message* answer) {
    if (sd_bus_message_is_method_error(answer, SD_BUS_ERROR_NO_REPLY) > 0)
        killService();
    else if (sd_bus_message_is_method_error(answer, nullptr) > 0)
        startAnother(answer); // it has ended meanwhile
    else
        logDebug("service answers: name={}", kServiceName);
}

// The service cannot answer the second ping. The bus answers it with an error when the service's connection has ended
// and its name is free.
void ServiceStarter::killService() {
    ping<&ServiceStarter::startAnother>(kEndMicroseconds);
    if (pidfd_send_signal(m_process.get(), SIGKILL, nullptr, 0) == 0)
        logWarning("service did not answer and was killed: name={}", kServiceName);
    else
        logWarning("service did not answer and was not killed: name={} error={}", kServiceName, std::strerror(errno));
}

void ServiceStarter::startAnother(sd_bus_message*) {
    m_replaced = true;
    m_process = FileDescriptor();
    askForStart();
}

template <ServiceStarter::Step step>
int ServiceStarter::ping(uint64_t timeout) {
    const MessagePointer request = newCall(m_bus, kServiceName, "/", kPeerInterface, "Ping");
    sd_bus_message_set_auto_start(request.get(), 0);
    return call<step>(request.get(), timeout);
}

template <ServiceStarter::Step step>
int ServiceStarter::call(sd_bus_message* request, uint64_t timeout) {
    sd_bus_slot* slot = nullptr;
    const int result = sd_bus_call_async(m_bus, &slot, request, &ServiceStarter::onAnswer<step>, this, timeout);
    m_call.reset(slot);
    if (result < 0)
        logError("service not asked for: error={}", std::strerror(-result));
    return result;
}

// A step that does not make another call is the last. When the connection ends, sd-bus reports a timeout for every
// call, which says nothing about the service.
template <ServiceStarter::Step step>
int ServiceStarter::onAnswer(sd_bus_message* answer, void* userdata, sd_bus_error*) noexcept {
    auto& starter = *static_cast<ServiceStarter*>(userdata);
    starter.m_call.reset();
    if (sd_bus_is_open(starter.m_bus) > 0)
        (starter.*step)(answer);
    return 0;
}

} // namespace velmora::desktop
