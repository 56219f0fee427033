#include "support/notification_record.h"

#include "support/awaiting.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace velmora {
namespace {

std::mutex recordMutex; // guards record
std::condition_variable recordGrew;
std::vector<Notification> record;

void append(Medium medium, std::string proxyId, std::string changed, std::string value) {
    const std::lock_guard<std::mutex> lock(recordMutex);
    record.push_back({medium, std::move(proxyId), std::move(changed), std::move(value), std::this_thread::get_id()});
    recordGrew.notify_all();
}

std::optional<Notification> nth(Medium medium, const std::string& changed, std::size_t count) {
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
    std::unique_lock<std::mutex> lock(recordMutex);
    recordGrew.wait_for(lock, kPatience, [&] { return nth(medium, changed, count).has_value(); });
    return nth(medium, changed, count);
}

bool NotificationRecord::await(const std::function<bool(const std::vector<Notification>&)>& condition) {
    std::unique_lock<std::mutex> lock(recordMutex);
    return recordGrew.wait_for(lock, kPatience, [&] { return condition(record); });
}

std::vector<Notification> NotificationRecord::all() {
    const std::lock_guard<std::mutex> lock(recordMutex);
    return record;
}

} // namespace velmora
