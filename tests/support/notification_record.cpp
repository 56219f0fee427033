#include "support/notification_record.h"

#include "base/mutex.h"
#include "support/awaiting.h"

#include <utility>

namespace velmora {
namespace {

desktop::Mutex recordMutex;
desktop::ConditionVariable recordGrew;
std::vector<Notification> record ZUV_GUARDED_BY(recordMutex);

void append(Medium medium, std::string proxyId, std::string changed, std::string value) {
    const desktop::MutexLock lock(recordMutex);
    record.push_back({medium, std::move(proxyId), std::move(changed), std::move(value), std::this_thread::get_id()});
    recordGrew.notifyAll();
}

std::optional<Notification> nth(Medium medium, const std::string& changed, std::size_t count)
    ZUV_REQUIRES(recordMutex) {
    for (const Notification& notification : record) {
        if (notification.medium == medium && notification.changed == changed && --count == 0)
            return notification;
    }
    return std::nullopt;
}

} // namespace

void NotificationRecord::onMainVideo(std::string proxyId, std::string changed, std::string value) {
    append(Medium::MainVideo, std::move(proxyId), std::move(changed), std::move(value));
}

void NotificationRecord::onAdvertisement(std::string proxyId, std::string changed, std::string value) {
    append(Medium::Advertisement, std::move(proxyId), std::move(changed), std::move(value));
}

std::optional<Notification> NotificationRecord::await(Medium medium, const std::string& changed, std::size_t count) {
    const desktop::MutexLock lock(recordMutex);
    recordGrew.waitFor(recordMutex, kPatience,
                       [&]() ZUV_REQUIRES(recordMutex) { return nth(medium, changed, count).has_value(); });
    return nth(medium, changed, count);
}

bool NotificationRecord::await(const std::function<bool(const std::vector<Notification>&)>& condition) {
    const desktop::MutexLock lock(recordMutex);
    return recordGrew.waitFor(recordMutex, kPatience, [&]() ZUV_REQUIRES(recordMutex) { return condition(record); });
}

std::vector<Notification> NotificationRecord::all() {
    const desktop::MutexLock lock(recordMutex);
    return record;
}

} // namespace velmora
