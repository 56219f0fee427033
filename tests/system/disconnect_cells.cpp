#include "system/disconnect_cells.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velmora::system_test {
namespace {

using enum Operation;
using enum Mode;
using enum Disturbance;
using enum Moment;
using enum Afterwards;
using enum Outcome;

constexpr std::array kOperations{Create, Start, Stop, Seek, Preload, Inspect};
constexpr std::array kKinds{Kind::None, Kind::MainVideo, Kind::Advertisement};
constexpr std::array kModes{Asynchronous, Synchronous};
constexpr std::array kDisturbances{Killed, Frozen};
constexpr std::array kMoments{Before, During, After};
constexpr std::array kAfterwards{NotRestarted, Restarted, Continued};

namespace State = ZUVMediaProxyState;

// ---- How long a call takes, in milliseconds

constexpr Range kAtOnce{0, 0};
// A synchronous request looks at the shared memory every 50 ms, five times.
constexpr Range kAnswerWait{0, 250};
constexpr Range kAnswerWaitInVain{250, 250};
// The liveness check waits for 200 ms, in synchronous mode after a synchronous request.
constexpr Range kLivenessWait{0, 200};
constexpr Range kLivenessWaitInVain{200, 200};
constexpr Range kSynchronousLivenessWaitInVain{450, 450};
// A creation repeats its command every 200 ms. With the first command later than 200 ms it restarts the service and
// waits for 500 ms; with the first one later than 2 s after the restart it gives up.
constexpr Range kAttemptWait{0, 200};
constexpr Range kRestartAndAnswer{900, 2400};
constexpr Range kRestartInVain{2200, 2400};
// A synchronous creation makes two requests. When the first times out, it restarts the service and waits for 800 ms;
// when the second times out, it makes a third.
constexpr Range kTwoAnswerWaits{0, 500};
constexpr Range kSynchronousRestartAndAnswer{1050, 1550};
constexpr Range kSynchronousRestartInVain{1550, 1550};

// ---- How many commands a creation sends

constexpr Range kOne{1, 1};
constexpr Range kTwo{2, 2};
constexpr Range kThree{3, 3};
constexpr Range kTwoOrThree{2, 3};
// One command before the restart, one with it, and one every 200 ms from 700 ms after it: ten, or fewer when a busy
// machine makes the waits longer.
constexpr Range kFromThreeOn{3, 10};
constexpr Range kUntilGivenUp{5, 10};

// ---- What many cells share

const std::string kProxyWithId = "a proxy with identifier";
const std::string kProxyWithoutId = "a proxy without identifier";

const std::vector<Callback> kNothing{};
const Callback kUrl{Medium::MainVideo, "url", CallbackThread::Delivery};
const Callback kAdUrl{Medium::Advertisement, "url", CallbackThread::Delivery};
const Callback kDefinitions{Medium::MainVideo, "definitions", CallbackThread::Delivery};
// The same answer comes by a synchronous request and by the bus, in either order. The second one for the main video is
// not notified; the state of an advertisement does not tell that there was a first.
const Callback kUrlFromEither{Medium::MainVideo, "url", CallbackThread::Either};
const Callback kAdUrlFromEither{Medium::Advertisement, "url", CallbackThread::Either};
const Callback kAdUrlFromTheOther{Medium::Advertisement, "url", CallbackThread::OtherThanBefore};

const std::vector<Outcome> kNoSuccess{Unanswered, UnknownObject};
const std::vector<Outcome> kAnyOfACommand{Unanswered, UnknownObject, AnsweredLate, Answered};

// The proxy after the operation has had its effect, or before.
Promise stopped(Kind kind, Range time) {
    // The start of an advertisement makes the main state Started, and its stop leaves it so.
    return {.state = kind == Kind::Advertisement ? State::Started : State::Idle, .milliseconds = time};
}

Promise sought(Range time) {
    return {.state = State::Started, .localUrl = true, .milliseconds = time};
}

Promise startedMainVideo(std::vector<Callback> callbacks, Range time) {
    return {.state = State::Started, .localUrl = true, .callbacks = std::move(callbacks), .milliseconds = time};
}

Promise startedAdvertisement(std::vector<Callback> callbacks, Range time) {
    return {.state = State::Started,
            .adState = State::Starting,
            .localUrl = true,
            .callbacks = std::move(callbacks),
            .milliseconds = time};
}

Promise startingMainVideo(Range time) {
    return {.state = State::Starting, .milliseconds = time};
}

Promise startingAdvertisement(Range time) {
    return {.adState = State::Starting, .milliseconds = time};
}

Promise preloaded(std::vector<Callback> callbacks, Range time) {
    return {.state = State::Started, .localUrl = true, .callbacks = std::move(callbacks), .milliseconds = time};
}

Promise notPreloaded(Range time) {
    return {.milliseconds = time};
}

Promise alive(bool isAlive, Range time) {
    return {.returned = isAlive ? "true" : "false", .milliseconds = time};
}

Promise created(Range commands, int restarts, Range time) {
    return {.returned = kProxyWithId, .commands = commands, .restarts = restarts, .milliseconds = time};
}

Promise notCreated(Range commands, Range time) {
    return {.returned = kProxyWithoutId, .commands = commands, .restarts = 1, .milliseconds = time};
}

template <typename Value>
bool includes(const std::vector<Value>& values, Value value) {
    return values.empty() || std::find(values.begin(), values.end(), value) != values.end();
}

} // namespace

// ---- The combinations that do not exist

const std::vector<Absence>& absences() {
    static const std::vector<Absence> all{
        {{{Create, Inspect}, {Kind::MainVideo, Kind::Advertisement}, {}, {}, {}, {}},
         "The command names neither the main video nor the advertisement."},
        {{{Start, Stop, Preload}, {Kind::None}, {}, {}, {}, {}},
         "Each call is about the main video or about the advertisement."},
        {{{Seek}, {Kind::None, Kind::Advertisement}, {}, {}, {}, {}}, "Only the main video can be sought."},
        {{{}, {}, {}, {Killed}, {}, {Continued}}, "A process that was killed cannot be continued."},
        {{{Create}, {}, {}, {Frozen}, {Before, During}, {Continued}},
         "The creation itself replaces a service that does not answer: none is left to be continued."},
    };
    return all;
}

// ---- What becomes of the command

const std::vector<OutcomeRule>& outcomeRules() {
    static const std::vector<Operation> ofAnObject{Start, Stop, Seek, Preload};
    static const std::vector<Operation> allButCreate{Start, Stop, Seek, Preload, Inspect};
    static const std::vector<OutcomeRule> all{
        // No service receives it, or none survives to answer it.
        {{allButCreate, {}, {}, {}, {Before}, {NotRestarted}}, Unanswered},
        {{allButCreate, {}, {}, {}, {During}, {NotRestarted, Restarted}}, Unanswered},
        // The restarted service answers.
        {{ofAnObject, {}, {}, {}, {Before}, {Restarted}}, UnknownObject},
        {{{Inspect}, {}, {}, {}, {Before}, {Restarted}}, Answered},
        // The service is continued after the call has returned.
        {{allButCreate, {}, {}, {Frozen}, {Before, During}, {Continued}}, AnsweredLate},
        // Answered before anything happened. What a successful start or preload of the main video brings 400
        // ms later, the definitions, comes only if the same process goes on.
        {{allButCreate, {}, {}, {}, {After}, {NotRestarted, Restarted}}, Answered},
        {{{Start, Preload}, {Kind::MainVideo}, {}, {Frozen}, {After}, {Continued}}, AnsweredWithDefinitions},
        {{{Start, Preload}, {Kind::Advertisement}, {}, {Frozen}, {After}, {Continued}}, Answered},
        {{{Stop, Seek, Inspect}, {}, {}, {Frozen}, {After}, {Continued}}, Answered},
        // A creation restarts the service itself.
        {{{Create}, {}, {}, {}, {Before, During}, {NotRestarted}}, GivenUp},
        {{{Create}, {}, {}, {}, {Before, During}, {Restarted}}, AnsweredAnew},
        {{{Create}, {}, {}, {}, {After}, {}}, Answered},
    };
    return all;
}

// ---- What the application sees

const std::vector<PromiseRule>& promiseRules() {
    constexpr Kind none = Kind::None;
    constexpr Kind main = Kind::MainVideo;
    constexpr Kind ad = Kind::Advertisement;
    static const std::vector<PromiseRule> all{
        {Create, none, Asynchronous, {Answered}, created(kOne, 0, kAttemptWait)},
        {Create, none, Asynchronous, {AnsweredAnew}, created(kFromThreeOn, 1, kRestartAndAnswer)},
        {Create, none, Asynchronous, {GivenUp}, notCreated(kUntilGivenUp, kRestartInVain)},
        {Create, none, Synchronous, {Answered}, created(kTwo, 0, kTwoAnswerWaits)},
        {Create, none, Synchronous, {AnsweredAnew}, created(kTwoOrThree, 1, kSynchronousRestartAndAnswer)},
        {Create, none, Synchronous, {GivenUp}, notCreated(kThree, kSynchronousRestartInVain)},

        {Start, main, Asynchronous, kNoSuccess, startingMainVideo(kAtOnce)},
        {Start, main, Asynchronous, {Answered}, startedMainVideo({kUrl}, kAtOnce)},
        {Start,
         main,
         Asynchronous,
         {AnsweredLate, AnsweredWithDefinitions},
         startedMainVideo({kUrl, kDefinitions}, kAtOnce)},
        {Start, main, Synchronous, {Unanswered}, startingMainVideo(kAnswerWaitInVain)},
        {Start, main, Synchronous, {UnknownObject}, startingMainVideo(kAnswerWait)},
        {Start, main, Synchronous, {AnsweredLate}, startedMainVideo({kUrl, kDefinitions}, kAnswerWaitInVain)},
        {Start, main, Synchronous, {Answered}, startedMainVideo({kUrlFromEither}, kAnswerWait)},
        {Start,
         main,
         Synchronous,
         {AnsweredWithDefinitions},
         startedMainVideo({kUrlFromEither, kDefinitions}, kAnswerWait)},

        {Start, ad, Asynchronous, kNoSuccess, startingAdvertisement(kAtOnce)},
        {Start, ad, Asynchronous, {AnsweredLate, Answered}, startedAdvertisement({kAdUrl}, kAtOnce)},
        {Start, ad, Synchronous, {Unanswered}, startingAdvertisement(kAnswerWaitInVain)},
        {Start, ad, Synchronous, {UnknownObject}, startingAdvertisement(kAnswerWait)},
        {Start, ad, Synchronous, {AnsweredLate}, startedAdvertisement({kAdUrl}, kAnswerWaitInVain)},
        {Start, ad, Synchronous, {Answered}, startedAdvertisement({kAdUrlFromEither, kAdUrlFromTheOther}, kAnswerWait)},

        {Stop, main, Asynchronous, kAnyOfACommand, stopped(main, kAtOnce)},
        {Stop, main, Synchronous, {Unanswered, AnsweredLate}, stopped(main, kAnswerWaitInVain)},
        {Stop, main, Synchronous, {UnknownObject, Answered}, stopped(main, kAnswerWait)},

        {Stop, ad, Asynchronous, kAnyOfACommand, stopped(ad, kAtOnce)},
        {Stop, ad, Synchronous, {Unanswered, AnsweredLate}, stopped(ad, kAnswerWaitInVain)},
        {Stop, ad, Synchronous, {UnknownObject, Answered}, stopped(ad, kAnswerWait)},

        {Seek, main, Asynchronous, kAnyOfACommand, sought(kAtOnce)},
        {Seek, main, Synchronous, {Unanswered, AnsweredLate}, sought(kAnswerWaitInVain)},
        {Seek, main, Synchronous, {UnknownObject, Answered}, sought(kAnswerWait)},

        {Preload, main, Asynchronous, kNoSuccess, notPreloaded(kAtOnce)},
        {Preload, main, Asynchronous, {Answered}, preloaded(kNothing, kAtOnce)},
        {Preload, main, Asynchronous, {AnsweredLate, AnsweredWithDefinitions}, preloaded({kDefinitions}, kAtOnce)},
        {Preload, main, Synchronous, {Unanswered}, notPreloaded(kAnswerWaitInVain)},
        {Preload, main, Synchronous, {UnknownObject}, notPreloaded(kAnswerWait)},
        {Preload, main, Synchronous, {AnsweredLate}, preloaded({kDefinitions}, kAnswerWaitInVain)},
        {Preload, main, Synchronous, {Answered}, preloaded(kNothing, kAnswerWait)},
        {Preload, main, Synchronous, {AnsweredWithDefinitions}, preloaded({kDefinitions}, kAnswerWait)},

        {Preload, ad, Asynchronous, kNoSuccess, notPreloaded(kAtOnce)},
        {Preload, ad, Asynchronous, {AnsweredLate, Answered}, preloaded(kNothing, kAtOnce)},
        {Preload, ad, Synchronous, {Unanswered}, notPreloaded(kAnswerWaitInVain)},
        {Preload, ad, Synchronous, {UnknownObject}, notPreloaded(kAnswerWait)},
        {Preload, ad, Synchronous, {AnsweredLate}, preloaded(kNothing, kAnswerWaitInVain)},
        {Preload, ad, Synchronous, {Answered}, preloaded(kNothing, kAnswerWait)},

        {Inspect, none, Asynchronous, {Unanswered, AnsweredLate}, alive(false, kLivenessWaitInVain)},
        {Inspect, none, Asynchronous, {Answered}, alive(true, kLivenessWait)},
        {Inspect, none, Synchronous, {Unanswered, AnsweredLate}, alive(false, kSynchronousLivenessWaitInVain)},
        {Inspect, none, Synchronous, {Answered}, alive(true, kAnswerWait)},
    };
    return all;
}

std::string textOf(Outcome outcome) {
    switch (outcome) {
    case Unanswered:
        return "never answered";
    case UnknownObject:
        return "refused: object unknown";
    case AnsweredLate:
        return "answered after the call";
    case Answered:
        return "answered, nothing after it";
    case AnsweredWithDefinitions:
        return "answered, news after it";
    case AnsweredAnew:
        return "repeated, answered by the service that the library started";
    case GivenUp:
        return "repeated, given up";
    }
    return "";
}

// ---- Names and look-ups

std::string commandOf(Operation operation) {
    static const std::array names{"create", "start", "stop", "seek", "preload", "inspect"};
    return names.at(static_cast<std::size_t>(operation));
}

std::string nameOf(const Cell& cell) {
    static const std::array kinds{"", "_main", "_advertisement"};
    static const std::array modes{"_asynchronous", "_synchronous"};
    static const std::array disturbances{"_killed", "_frozen"};
    static const std::array moments{"_before", "_during", "_after"};
    static const std::array afterwards{"_not_restarted", "_restarted", "_continued"};
    return commandOf(cell.operation) + kinds.at(static_cast<std::size_t>(cell.kind)) +
           modes.at(static_cast<std::size_t>(cell.mode)) + disturbances.at(static_cast<std::size_t>(cell.disturbance)) +
           moments.at(static_cast<std::size_t>(cell.moment)) + afterwards.at(static_cast<std::size_t>(cell.afterwards));
}

bool Pattern::holds(const Cell& cell) const {
    return includes(operations, cell.operation) && includes(kinds, cell.kind) && includes(modes, cell.mode) &&
           includes(disturbances, cell.disturbance) && includes(moments, cell.moment) &&
           includes(afterwards, cell.afterwards);
}

bool PromiseRule::holds(const Cell& cell, Outcome outcome) const {
    return cell.operation == operation && cell.kind == kind && cell.mode == mode && includes(outcomes, outcome);
}

std::vector<Cell> allCombinations() {
    std::vector<Cell> all;
    for (const Operation operation : kOperations)
        for (const Kind kind : kKinds)
            for (const Mode mode : kModes)
                for (const Disturbance disturbance : kDisturbances)
                    for (const Moment moment : kMoments)
                        for (const Afterwards afterwards : kAfterwards)
                            all.push_back({operation, kind, mode, disturbance, moment, afterwards});
    return all;
}

const Absence* absenceOf(const Cell& cell) {
    const auto found = std::find_if(absences().begin(), absences().end(),
                                    [&](const Absence& absence) { return absence.pattern.holds(cell); });
    return found == absences().end() ? nullptr : &*found;
}

std::vector<Cell> allCells() {
    std::vector<Cell> cells = allCombinations();
    std::erase_if(cells, [](const Cell& cell) { return absenceOf(cell) != nullptr; });
    return cells;
}

Outcome outcomeOf(const Cell& cell) {
    return std::find_if(outcomeRules().begin(), outcomeRules().end(),
                        [&](const OutcomeRule& rule) { return rule.pattern.holds(cell); })
        ->outcome;
}

const Promise& promiseOf(const Cell& cell) {
    return std::find_if(promiseRules().begin(), promiseRules().end(),
                        [&](const PromiseRule& rule) { return rule.holds(cell, outcomeOf(cell)); })
        ->promise;
}

} // namespace velmora::system_test
