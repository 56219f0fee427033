#include "system/news_record.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace velmora::system_test {
namespace {

std::mutex recordMutex; // guards record
std::condition_variable recordGrew;
std::vector<News> record;

void append(Medium medium, std::string proxyId, std::string changed, std::string value) {
    const std::lock_guard<std::mutex> lock(recordMutex);
    record.push_back({medium, std::move(proxyId), std::move(changed), std::move(value), std::this_thread::get_id()});
    recordGrew.notify_all();
}

std::optional<News> nth(Medium medium, const std::string& changed, std::size_t count) {
    for (const News& news : record) {
        if (news.medium == medium && news.changed == changed && --count == 0)
            return news;
    }
    return std::nullopt;
}

} // namespace

void NewsRecord::onMainVideoNews(std::string proxyId, std::string changed, std::string value) {
    append(Medium::MainVideo, std::move(proxyId), std::move(changed), std::move(value));
}

void NewsRecord::onAdvertisementNews(std::string proxyId, std::string changed, std::string value) {
    append(Medium::Advertisement, std::move(proxyId), std::move(changed), std::move(value));
}

std::optional<News> NewsRecord::await(Medium medium, const std::string& changed, std::size_t count) {
    std::unique_lock<std::mutex> lock(recordMutex);
    recordGrew.wait_for(lock, kPatience, [&] { return nth(medium, changed, count).has_value(); });
    return nth(medium, changed, count);
}

bool NewsRecord::await(const std::function<bool(const std::vector<News>&)>& condition) {
    std::unique_lock<std::mutex> lock(recordMutex);
    return recordGrew.wait_for(lock, kPatience, [&] { return condition(record); });
}

std::vector<News> NewsRecord::all() {
    const std::lock_guard<std::mutex> lock(recordMutex);
    return record;
}

} // namespace velmora::system_test
