#include "zuv_model_access.h"

#include "in_process_bus.h"

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

namespace velmora {
namespace {

// The application's signals are for its own threads: a new thread inherits the mask of its creator.
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

// Every platform's library has to define it: the class's vtable goes with it.
IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {
    ZUVModelAccessClient* client;
    std::shared_ptr<Inbox> inbox = std::make_shared<Inbox>();
    std::thread delivery{};
};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) : m_impl(new Impl{.client = client}) {}

// Called from inside a callback, it leaves the delivery thread to finish on the inbox, which the thread
// shares.
ZUVModelAccess::~ZUVModelAccess() {
    InProcessBus::instance().remove(m_impl->inbox);
    m_impl->inbox->close();
    if (m_impl->delivery.get_id() == std::this_thread::get_id())
        m_impl->delivery.detach();
    else if (m_impl->delivery.joinable())
        m_impl->delivery.join();
}

// The bus is the process itself: nothing to connect to.
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

// There is no process that could be started; whoever plays the service is in this one.
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
