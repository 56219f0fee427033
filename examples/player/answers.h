// Listens on the bus to the service's answers, because the library's callbacks report neither failures nor seeks.
#ifndef ZUV_EXAMPLES_PLAYER_ANSWERS_H
#define ZUV_EXAMPLES_PLAYER_ANSWERS_H

#include "zuv_model_access.h"

#include <string>
#include <vector>

/// A connection to the bus that puts the answers of interest into the NotificationQueue: "seeked", "stopped", and
/// "failed" for any answer with a code other than 200. They are about the proxies of every process on the bus.
class Answers final : private velmora::ZUVModelAccessClient {
public:
    /// Connects, and listens until destruction.
    ///
    /// @throws std::runtime_error if there is no bus.
    Answers();

private:
    void onModelAccessStateChanged() override {}
    void onZUVEvent(std::vector<std::string>& event) override;

    velmora::ZUVModelAccess m_bus{this};
};

#endif // ZUV_EXAMPLES_PLAYER_ANSWERS_H
