// A session's remote objects: creates them, passes them from one title to the next, and forgets them.
#ifndef ZUV_ENGINE_OBJECT_POOL_H
#define ZUV_ENGINE_OBJECT_POOL_H

#include "remote_object.h"
#include "service_link.h"
#include "worker.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace velmora::engine {

using Object = std::shared_ptr<RemoteObject>;

/// Every title takes an object of its own. An object that is given back rests before another title takes it, because
/// neither answers nor definitions say which title they are about. One thread.
class ObjectPool {
public:
    using Taker = std::function<void(const Outcome<Object>& object)>;

    /// @param worker, link, manager, limits outlive this.
    ObjectPool(Worker& worker, ServiceLink& link, ZUVMediaProxyManagerInterface& manager, const SessionLimits& limits)
        : m_worker(worker), m_link(link), m_manager(manager), m_limits(limits) {}

    /// Hands over an object that has rested, before this returns, or else a new one later.
    void take(Taker taker);

    /// Hands over a new object, later.
    void takeNew(Taker taker);

    /// Takes back what a title no longer uses. Commands that it still owes an answer to may be under way.
    void giveBack(const Object& object);

    /// Takes back what was not used.
    void giveBackUnused(const Object& object) { m_rested.push_back(object); }

    /// Forgets an object: it hears no more events.
    void forget(const Object& object);

    /// Forgets all objects made before this time, because the service has gone, and fails their commands.
    void onServiceGone(Worker::Clock::time_point before, const MediaError& error);

    /// Takes every event.
    void onEvent(const ServiceEvent& event);

private:
    struct Creation {
        Taker taker;
        Worker::Timer repetition;
        Worker::Timer limit;
        bool hasStartedService = false;
    };

    void requestAgain(const std::string& request);
    void onCreated(const ServiceEvent& event);
    void end(const std::string& request, const Outcome<Object>& result);
    void rest(const Object& object);

    Worker& m_worker;
    ServiceLink& m_link;
    ZUVMediaProxyManagerInterface& m_manager;
    const SessionLimits& m_limits;
    std::map<std::string, Creation> m_creations; // by request
    std::map<std::string, Object> m_objects;     // by identifier: all that are not forgotten
    std::set<Object> m_unsettled;                // given back, and still to answer a command
    std::vector<Object> m_rested;                // to be taken
    bool m_isServiceGone = false;                // since it was last noticed, no object was created
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_OBJECT_POOL_H
