#include "object_pool.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace velmora::engine {

using std::chrono::milliseconds;

namespace {

// A service that runs answers a creation within this time; the library's own limit is the same.
constexpr milliseconds kCreationAnswer(200);
// A service that is being started takes its first command at an unknown time.
constexpr milliseconds kRepetition(100);

} // namespace

void ObjectPool::take(Taker taker) {
    if (m_rested.empty())
        return takeNew(std::move(taker));
    const Object object = std::move(m_rested.back());
    m_rested.pop_back();
    taker(object);
}

void ObjectPool::takeNew(Taker taker) {
    const std::string request = ServiceLink::newRequest();
    Creation creation{std::move(taker), {}, {}};
    creation.limit = m_worker.callAfter(m_limits.creation, [this, request] {
        end(request, MediaError{MediaErrorKind::ServiceGone, "", "the media service does not answer"});
    });
    const auto again = [this, request] { requestAgain(request); };
    creation.repetition = m_worker.callAfter(m_isServiceGone ? milliseconds(0) : kCreationAnswer, again);
    m_creations.emplace(request, std::move(creation));
    m_link.requestObject(request);
}

void ObjectPool::requestAgain(const std::string& request) {
    Creation& creation = m_creations.at(request);
    if (!std::exchange(creation.hasStartedService, true))
        m_link.startService();
    m_link.requestObject(request);
    creation.repetition = m_worker.callAfter(kRepetition, [this, request] { requestAgain(request); });
}

void ObjectPool::onCreated(const ServiceEvent& event) {
    if (!m_creations.contains(event.request))
        return;
    if (!event.succeeded())
        return end(event.request, event.error());
    if (event.object.empty())
        return end(event.request, MediaError{MediaErrorKind::Refused, "", "the service has named no object"});
    m_isServiceGone = false;
    const auto object = std::make_shared<RemoteObject>(m_manager.createNewZUVMediaProxy(event.object));
    m_objects[event.object] = object;
    end(event.request, object);
}

void ObjectPool::end(const std::string& request, const Outcome<Object>& result) {
    const Creation creation = std::move(m_creations.extract(request).mapped());
    m_worker.cancel(creation.repetition);
    m_worker.cancel(creation.limit);
    creation.taker(result);
}

void ObjectPool::giveBack(const Object& object) {
    object->listen(nullptr);
    object->markUsed();
    if (object->isSettled())
        return rest(object);
    m_unsettled.insert(object);
    m_worker.callAfter(m_limits.stop, [this, object] { // at the latest its last command is a stop
        if (m_unsettled.erase(object) > 0)
            forget(object);
    });
}

void ObjectPool::rest(const Object& object) {
    m_worker.callAfter(m_limits.reuse, [this, object] {
        if (object->isSettled()) // it is not when its service has gone
            m_rested.push_back(object);
    });
}

void ObjectPool::forget(const Object& object) {
    std::erase_if(m_objects, [&](const auto& entry) { return entry.second == object; });
}

void ObjectPool::onServiceGone(Worker::Clock::time_point before, const MediaError& error) {
    m_isServiceGone = true;
    std::vector<Object> gone;
    for (const auto& [id, object] : m_objects)
        if (object->madeAt() < before)
            gone.push_back(object);
    for (const Object& object : gone) {
        std::erase(m_rested, object);
        m_unsettled.erase(object);
        forget(object);
        object->abandon(error);
    }
}

void ObjectPool::onEvent(const ServiceEvent& event) {
    if (event.name == "created")
        return onCreated(event);
    if (const auto found = m_objects.find(event.object); found != m_objects.end()) {
        const Object object = found->second; // its handler may have it forgotten
        object->onEvent(event);
        if (object->isSettled() && m_unsettled.erase(object) > 0)
            rest(object);
    }
}

} // namespace velmora::engine
