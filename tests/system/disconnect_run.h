// Runs one cell of the disconnect matrix with real processes.
#ifndef ZUV_TESTS_SYSTEM_DISCONNECT_RUN_H
#define ZUV_TESTS_SYSTEM_DISCONNECT_RUN_H

#include "launcher/private_bus.h"
#include "system/bus_observer.h"
#include "system/disconnect_cells.h"
#include "system/startable_service.h"
#include "zuv_media_proxy_manager.h"

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velmora::system_test {

/// What was observed of a cell's call.
struct Seen {
    std::string returned;
    std::string id; ///< of the proxy
    int state = ZUVMediaProxyState::Idle;
    int adState = ZUVMediaProxyState::Idle;
    std::string localUrl;                ///< of the operation's kind
    std::vector<Notification> callbacks; ///< since the call began
    std::thread::id deliveryThread;
    std::vector<std::string> commands;
    int restarts = 0; ///< those that the library asked for
    std::chrono::milliseconds duration{0};
};

/// Runs one cell of the disconnect matrix, with real processes on a real bus. Once in a process: the library's
/// singletons stay connected to the bus of the first run.
class DisconnectRun {
public:
    explicit DisconnectRun(const Cell& cell);
    ~DisconnectRun();
    DisconnectRun(const DisconnectRun&) = delete;
    DisconnectRun& operator=(const DisconnectRun&) = delete;

    /// @throws std::runtime_error when the preparation fails, or something promised does not come in time.
    Seen run();

private:
    std::string scenario() const;
    bool isAdvertisement() const { return m_cell.kind == Kind::Advertisement; }
    bool isBefore() const { return m_cell.moment == Moment::Before; }
    bool isRestartedByUs() const;

    void prepare();
    void connect();
    void startService();
    std::shared_ptr<ZUVMediaProxyInterface> newProxy() const;
    void startMedium();
    void disturb();
    void awaitDisturbance();
    void beginObservation();
    std::thread::id deliveryThread();
    Seen call();
    std::string perform();
    std::string create();
    void start();
    void stop();
    void preload();
    void proceedAfterTheCall();
    void awaitAnswer();
    void awaitCallbacks();
    void passFence();
    void complete(Seen& seen);

    const Cell m_cell;
    const Promise& m_promise;
    StartableService m_startable;
    std::optional<desktop::PrivateBus> m_bus;
    std::optional<BusObserver> m_observer;
    ZUVMediaProxyManager* m_manager = nullptr;
    std::shared_ptr<ZUVMediaProxyInterface> m_fence;
    std::shared_ptr<ZUVMediaProxyInterface> m_proxy;
    pid_t m_service = -1; ///< the process that is disturbed
    std::thread::id m_deliveryThread;
    std::size_t m_earlierNotifications = 0;
    int m_earlierStarts = 0;
    int m_startsByUs = 0; ///< since the observation began
    int m_fences = 0;
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_DISCONNECT_RUN_H
