// For tests of what holds for every operation of the client: a table of all operations, each called on a client of its
// own. A new operation is one more line of the table.
#ifndef ZUV_TESTS_CLIENT_OPERATION_UNDER_TEST_H
#define ZUV_TESTS_CLIENT_OPERATION_UNDER_TEST_H

#include "client/client_test.h"
#include "support/mode.h"
#include "zuv_media_manager_interface_impl.h"

#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace velmora::test {

/// A manager in the place of the process's, an interface that forwards to it, a registered proxy, and a
/// service that answers every command: over the bus after 50 ms, in synchronous mode in the region at once.
/// All of it ends with this object. Texts are so long that every copy of one allocates.
class OwnClient {
    struct InPlaceOfTheSingleton {
        explicit InPlaceOfTheSingleton(ZUVMediaProxyManager& manager) { managerToGive = &manager; }
        ~InPlaceOfTheSingleton() { managerToGive.reset(); }
    };

public:
    inline static const std::string kProxyId = "movie of a long identifier";
    inline static const std::string kOtherId = "another movie of a long identifier";
    inline static const std::string kCreatedId = "announced movie of a long identifier";
    inline static const std::string kUrl = "http://service.example/local/movie";
    inline static const std::string kText = "a text that no string keeps within itself";
    inline static const std::string kSession = "ses-of the one who asks and waits";

    explicit OwnClient(Mode mode);
    ~OwnClient();
    OwnClient(const OwnClient&) = delete;
    OwnClient& operator=(const OwnClient&) = delete;

    /// Everything around the client as it was before its first call: time, random bytes, bus, region,
    /// journal.
    void beginCall();

    Strings event(const std::string& name, const std::string& code, const std::string& kind) const;
    /// The same for the main video, handed to the proxy.
    void tellProxy(const std::string& name, const std::string& code = "200");
    void tellProxyOfAdvertisement(const std::string& name, const std::string& code = "200");
    /// Handed to the manager, as the bus does.
    void deliver(const std::string& name, const std::string& code = "200");

    /// What the client's fields hold after a call, but for the announced identifiers, which calls leave
    /// behind.
    std::string state() const;
    bool holdsALock();

    ZUVMediaProxyManager manager;
    InPlaceOfTheSingleton place{manager};
    ZUVMediaProxyManagerInterfaceImpl interface;
    std::shared_ptr<ZUVMediaProxyObject> proxy;
    /// Not registered.
    std::shared_ptr<ZUVMediaProxyObject> stranger;

    bool serviceAnswers = true;
    /// What the region holds before each call.
    std::string regionText;

private:
    void answer(const std::string& command, const std::string& name);

    Mode m_mode;
};

std::string resultText(const std::string& result);
std::string resultText(const Strings& result);
std::string resultText(int result);
std::string resultText(const std::shared_ptr<ZUVMediaProxyInterface>& result);

struct Operation {
    using Preparation = std::function<void(OwnClient&)>;

    template <typename Call>
    Operation(
        const char* nameOfCase, Call operation, Preparation preparation = [](OwnClient&) {})
        : name(nameOfCase), call(returningText(operation)), prepare(std::move(preparation)) {}

    const char* name;
    /// Gives the operation's result as text.
    std::function<std::string(OwnClient&)> call;
    /// Brings the client into the state that the first call finds.
    Preparation prepare;

private:
    template <typename Call>
    static std::function<std::string(OwnClient&)> returningText(Call operation) {
        return [operation](OwnClient& client) -> std::string {
            if constexpr (std::is_void_v<decltype(operation(client))>) {
                operation(client);
                return "";
            } else {
                const auto result = operation(client);
                const OwnWork work;
                return resultText(result);
            }
        };
    }
};

struct OperationGroup {
    const char* name;
    Mode mode;
    std::vector<Operation> operations;
};

/// Every operation, in each mode where it matters.
std::vector<OperationGroup> everyOperation();
/// Those among them that send a playback command, and in it the time of the request: one clock reading each.
std::vector<OperationGroup> playbackOperations();

/// What a call did and left behind.
struct Outcome {
    std::string result;
    std::vector<std::string> journal;
    std::string state;
};

/// The outcome of one call. Exceptions of the kind that is awaited become the result kPassed.
inline constexpr const char* kPassed = "passed to the caller";
template <typename Awaited>
Outcome outcomeOf(const Operation& operation, OwnClient& client) {
    std::string result;
    try {
        result = operation.call(client);
    } catch (const Awaited&) {
        result = kPassed;
    }
    const OwnWork work;
    return {result, journal().lines(), client.state()};
}

void expectSame(const Outcome& actual, const Outcome& expected);

/// The journal of a call that was cut off: the beginning of the other, and then only what undoes it.
void expectCutOff(const std::vector<std::string>& journal, const std::vector<std::string>& undisturbed);

/// What a call on a new client does while nothing fails.
Outcome undisturbedOutcome(const Operation& operation, Mode mode);

/// A test of a group of operations.
class EveryOperation : public PlatformTest, public ::testing::WithParamInterface<OperationGroup> {
protected:
    /// Calls each operation until it makes fewer than n calls of this kind, each time on a new client, with
    /// the nth of them failing. Each time the exception must reach the caller, no lock stay held, nothing
    /// leak, and the next call do all of its work.
    template <typename Exception>
    static void expectEveryFailureToPass(Call call);

    /// Does `step` for n = 1, 2, 3 ... of each operation, until it says that the operation makes fewer calls
    /// than that. Keeps count in the test's report.
    template <typename Step>
    static void forEachFailure(Step step);

private:
    /// False when the operation made fewer calls.
    template <typename Exception>
    static bool expectFailureToPass(const Operation& operation, Call call, int nth, const Outcome& expected);
};

template <typename Step>
void EveryOperation::forEachFailure(Step step) {
    int injected = 0;
    for (const Operation& operation : GetParam().operations) {
        const Outcome expected = undisturbedOutcome(operation, GetParam().mode);
        int nth = 1;
        for (; !HasFailure(); ++nth) {
            SCOPED_TRACE(operation.name + (", failure " + std::to_string(nth)));
            if (!step(operation, nth, expected))
                break;
        }
        injected += nth - 1;
    }
    RecordProperty("injected", injected);
}

template <typename Exception>
void EveryOperation::expectEveryFailureToPass(Call call) {
    forEachFailure([call](const Operation& operation, int nth, const Outcome& expected) {
        const std::size_t liveBefore = liveAllocations();
        const bool failed = expectFailureToPass<Exception>(operation, call, nth, expected);
        EXPECT_EQ(liveAllocations(), liveBefore) << "something is left behind";
        return failed;
    });
}

template <typename Exception>
bool EveryOperation::expectFailureToPass(const Operation& operation, Call call, int nth, const Outcome& expected) {
    OwnClient client(GetParam().mode);
    operation.prepare(client);
    client.beginCall();
    failNth(call, nth);
    const Outcome disturbed = outcomeOf<Exception>(operation, client);
    if (!stopFailing(call)) {
        expectSame(disturbed, expected);
        return false;
    }
    EXPECT_EQ(disturbed.result, kPassed);
    expectCutOff(disturbed.journal, expected.journal);
    EXPECT_FALSE(client.holdsALock());
    // Another call would wait for a held lock for good.
    if (HasFailure())
        return true;

    client.beginCall();
    expectSame(outcomeOf<Exception>(operation, client), expected);
    return true;
}

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_OPERATION_UNDER_TEST_H
