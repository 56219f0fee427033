#include "zuv_model_access.h"

#include "in_process_bus.h"

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

namespace velmora {
namespace {

// Blocks all signals, so that the application's handlers run on its own threads: a new thread inherits this mask.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

void deliver(Inbox& inbox, ZUVModelAccessClient& client) {
    while (auto event = inbox.take())
        client.onZUVEvent(*event);
}

} // namespace

// Every platform's library has to define it, because the vtable of the class is emitted with it.
IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {
    ZUVModelAccessClient* client;
    std::shared_ptr<Inbox> inbox = std::make_shared<Inbox>();
    std::thread delivery{};
};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) : m_impl(new Impl{.client = client}) {}

// When called from inside a callback, the delivery thread finishes after this returns. It shares ownership of the
// inbox.
ZUVModelAccess::~ZUVModelAccess() {
    InProcessBus::instance().remove(m_impl->inbox);
    m_impl->inbox->close();
    if (m_impl->delivery.get_id() == std::this_thread::get_id())
        m_impl->delivery.detach();
    else if (m_impl->delivery.joinable())
        m_impl->delivery.join();
}

// The bus is in the process itself, so there is nothing to connect to.
int ZUVModelAccess::initialize() {
    return 0;
}

int ZUVModelAccess::start() {
    const SignalsBlocked inDeliveryThread;
    try {
        m_impl->delivery = std::thread([client = m_impl->client, inbox = m_impl->inbox] { deliver(*inbox, *client); });
    } catch (const std::system_error& error) {
        return -error.code().value();
    }
    InProcessBus::instance().add(m_impl->inbox); // last: the client may destroy this inside its first callback
    return 0;
}

// There is no process to start: the service is part of this process.
int ZUVModelAccess::startService() {
    return -ENOSYS;
}

int ZUVModelAccess::read(const std::string& topic, std::vector<std::string>& values) {
    const auto value = InProcessBus::instance().valueOf(topic);
    values = value.value_or(Values());
    return value ? 0 : -ENODATA;
}

int ZUVModelAccess::publish(std::string topic, std::vector<std::string> values) {
    InProcessBus::instance().publish(topic, values);
    return 0;
}

} // namespace velmora
