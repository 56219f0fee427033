// The disconnect matrix as data: every combination of an operation with a service that dies or freezes before, during
// or after it, and what the application is promised to see.
#ifndef ZUV_TESTS_SYSTEM_DISCONNECT_CELLS_H
#define ZUV_TESTS_SYSTEM_DISCONNECT_CELLS_H

#include "support/mode.h"
#include "support/notification_record.h"
#include "zuv_media_proxy.h"

#include <string>
#include <vector>

namespace velmora::system_test {

enum class Operation { Create, Start, Stop, Seek, Preload, Inspect };
enum class Kind { None, MainVideo, Advertisement };
enum class Disturbance { Killed, Frozen };
enum class Moment { Before, During, After };
enum class Afterwards { NotRestarted, Restarted, Continued };

struct Cell {
    Operation operation;
    Kind kind;
    Mode mode;
    Disturbance disturbance;
    Moment moment;
    Afterwards afterwards;
};

/// Every combination, possible or not.
std::vector<Cell> allCombinations();
/// Those that exist.
std::vector<Cell> allCells();

/// As in "start_main_synchronous_killed_before_restarted".
std::string nameOf(const Cell& cell);
/// The command's name on the bus.
std::string commandOf(Operation operation);

/// A set of combinations, by the permitted values of each member; an empty list permits every value.
struct Pattern {
    std::vector<Operation> operations;
    std::vector<Kind> kinds;
    std::vector<Mode> modes;
    std::vector<Disturbance> disturbances;
    std::vector<Moment> moments;
    std::vector<Afterwards> afterwards;

    bool holds(const Cell& cell) const;
};

/// Combinations that do not exist, and why.
struct Absence {
    Pattern pattern;
    std::string reason;
};
const std::vector<Absence>& absences();
/// The first one that applies; null for a cell that exists.
const Absence* absenceOf(const Cell& cell);

/// What happens to a command. What the application sees depends on nothing else.
enum class Outcome {
    Unanswered,              ///< there is never an answer
    UnknownObject,           ///< a restarted service does not know the object
    AnsweredLate,            ///< the answer comes after the call has returned
    Answered,                ///< the answer comes, and nothing after it
    AnsweredWithDefinitions, ///< the answer comes, and later the definitions
    AnsweredAnew,            ///< the service that the library starts answers a repeated command
    GivenUp,                 ///< the library starts the service in vain
};

struct OutcomeRule {
    Pattern pattern;
    Outcome outcome;
};
const std::vector<OutcomeRule>& outcomeRules();
/// The outcome in words.
std::string textOf(Outcome outcome);

/// The thread of a callback: the bus's delivery thread; that or the caller's; or the one that did not run the callback
/// before.
enum class CallbackThread { Delivery, Either, OtherThanBefore };

struct Callback {
    Medium medium;
    std::string changed;
    CallbackThread thread;
};

struct Range {
    int least;
    int most;
};

/// What the application sees, beginning with the call.
struct Promise {
    std::string returned{};                 ///< empty: the operation returns nothing
    int state = ZUVMediaProxyState::Idle;   ///< getState()
    int adState = ZUVMediaProxyState::Idle; ///< getAdState()
    bool localUrl = false;                  ///< whether there is a local URL, of the operation's kind
    std::vector<Callback> callbacks{};      ///< in their order
    Range commands{1, 1};                   ///< published, all of them the operation's
    int restarts = 0;                       ///< service starts that the library asks for
    Range milliseconds{0, 0};               ///< how long the call takes
};

struct PromiseRule {
    Operation operation;
    Kind kind;
    Mode mode;
    std::vector<Outcome> outcomes;
    Promise promise;

    bool holds(const Cell& cell, Outcome outcome) const;
};
const std::vector<PromiseRule>& promiseRules();

/// Of a cell that exists.
Outcome outcomeOf(const Cell& cell);
const Promise& promiseOf(const Cell& cell);

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_DISCONNECT_CELLS_H
