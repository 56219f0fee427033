// What the application's callbacks brought, for tests to wait for and look at.
#ifndef ZUV_TESTS_SYSTEM_NEWS_RECORD_H
#define ZUV_TESTS_SYSTEM_NEWS_RECORD_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velmora::system_test {

/// Long enough for a busy machine; a test that waits for it fails.
inline constexpr std::chrono::seconds kPatience{10};

enum class Medium { MainVideo, Advertisement };

/// One call of an application callback.
struct News {
    Medium medium;
    std::string proxyId;
    std::string changed;
    std::string value;
    std::thread::id thread;
};

/// Everything the callbacks brought since the process began, in their order.
class NewsRecord {
public:
    static void onMainVideoNews(std::string proxyId, std::string changed, std::string value);
    static void onAdvertisementNews(std::string proxyId, std::string changed, std::string value);

    /// Waits for the `count`th news of this kind; nothing when it does not come in kPatience.
    static std::optional<News> await(Medium medium, const std::string& changed, std::size_t count = 1);

    /// Waits for a condition on all news. False when it does not hold within kPatience.
    static bool await(const std::function<bool(const std::vector<News>&)>& condition);

    static std::vector<News> all();
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_NEWS_RECORD_H
