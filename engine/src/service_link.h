// A session's own connection to the bus: it hears every event of the service, and sends the two commands that concern
// no object.
#ifndef ZUV_ENGINE_SERVICE_LINK_H
#define ZUV_ENGINE_SERVICE_LINK_H

#include "service_event.h"
#include "zuv_model_access.h"

#include <functional>
#include <string>
#include <vector>

namespace velmora::engine {

/// The client library reports successes only, and not of every request; this second client of the bus hears all
/// answers. It also asks for objects itself, because it recognises the answer by the request's identifier: a creation
/// of the library takes the newest object that the service announces to any process. The service frees the objects when
/// this connection ends.
class ServiceLink final : private ZUVModelAccessClient {
public:
    /// Takes every event, on the connection's delivery thread.
    using Listener = std::function<void(ServiceEvent event)>;

    explicit ServiceLink(Listener listener) : m_listener(std::move(listener)) {}
    ~ServiceLink() = default;
    ServiceLink(const ServiceLink&) = delete;
    ServiceLink& operator=(const ServiceLink&) = delete;

    /// @return whether there is a bus.
    bool connect() { return m_access.initialize() == 0 && m_access.start() == 0; }

    /// Asks for a new object; the answer is "created". A repetition with the same identifier gets the same object.
    void requestObject(const std::string& request) { send("create", request); }

    /// Asks for a sign of life; the answer is "status".
    void inspect(const std::string& request) { send("inspect", request); }

    /// Has the service started, or replaced if it does not answer.
    void startService() { m_access.startService(); }

    /// An identifier for a request that no other process uses.
    static std::string newRequest();

private:
    void onModelAccessStateChanged() override {}
    void onZUVEvent(std::vector<std::string>& params) override { m_listener(ServiceEvent(params)); }
    void send(const std::string& command, const std::string& request);

    const Listener m_listener;
    ZUVModelAccess m_access{this}; // last: its destructor waits for a call of the listener
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_SERVICE_LINK_H
