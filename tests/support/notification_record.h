// The notifications that an application's callbacks were called with, for tests to wait for and look at.
#ifndef ZUV_TESTS_SUPPORT_NOTIFICATION_RECORD_H
#define ZUV_TESTS_SUPPORT_NOTIFICATION_RECORD_H

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velmora {

enum class Medium { MainVideo, Advertisement };

/// One call of an application callback.
struct Notification {
    Medium medium;
    std::string proxyId;
    std::string changed;
    std::string value;
    std::thread::id thread;
};

/// Everything the callbacks brought since the process began, in their order.
class NotificationRecord {
public:
    static void onMainVideo(std::string proxyId, std::string changed, std::string value);
    static void onAdvertisement(std::string proxyId, std::string changed, std::string value);

    /// Waits for the `count`th notification of this kind; nothing when it does not come in kPatience.
    static std::optional<Notification> await(Medium medium, const std::string& changed, std::size_t count = 1);

    /// Waits for a condition on all notifications. False when it does not hold within kPatience.
    static bool await(const std::function<bool(const std::vector<Notification>&)>& condition);

    static std::vector<Notification> all();
};

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_NOTIFICATION_RECORD_H
