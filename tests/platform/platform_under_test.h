// What the conformance suite must know of a platform and cannot ask of zuv_model_access.h and csp_debug.h.
// Every platform that is put to the test defines one function that says it.
#ifndef ZUV_TESTS_PLATFORM_PLATFORM_UNDER_TEST_H
#define ZUV_TESTS_PLATFORM_PLATFORM_UNDER_TEST_H

#include <cstdint>
#include <functional>
#include <string>
#include <variant>

namespace velmora::platform_test {

/// Why a platform cannot offer something to the suite: the tests that need it are skipped with this reason.
struct Lacking {
    std::string reason;
};

/// The media service that the platform starts. Once it runs, it answers "inspect" with "status" and
/// "create" with "created".
struct Service {
    /// A number that no other start of the service has; 0 while it does not run.
    std::function<long()> instance;
    /// Has the running service answer nothing from here on, as if it hung.
    std::function<void()> hang;
    /// Ends the service, also one that hangs, if there is one. Returns when it has left the bus.
    std::function<void()> end;
};

/// The bus between the processes, while it takes and brings nothing, as if it hung.
struct StalledBus {
    std::function<void()> begin;
    std::function<void()> end;
};

/// A machine without a bus, for connections that are made meanwhile.
struct MissingBus {
    std::function<void()> begin;
    std::function<void()> end;
};

struct PlatformUnderTest {
    std::variant<Service, Lacking> service;
    std::variant<StalledBus, Lacking> stalledBus;
    std::variant<MissingBus, Lacking> missingBus;

    /// The highest level whose lines are put out while the suite runs: at least 1, less than 5000.
    uint32_t highestLevel = 0;
    /// All that was put out while `action` ran.
    std::function<std::string(const std::function<void()>& action)> logOf;
};

/// Defined by the platform. Called once, before the suite makes any other use of the platform.
PlatformUnderTest describePlatform();

/// What describePlatform() said.
const PlatformUnderTest& platformUnderTest();

/// For logOf, where the log goes to stderr.
std::string stderrOf(const std::function<void()>& action);

} // namespace velmora::platform_test

#endif // ZUV_TESTS_PLATFORM_PLATFORM_UNDER_TEST_H
