// The service dies or freezes before, during or after each request of a session; every cell with real processes.
#include "engine/system_test.h"

#include <ostream>

using namespace velmora;
using namespace velmora::engine_test;

namespace {

enum class Request { Create, Start, StartAdvertisement, Preload, Seek, Stop };
enum class Disturbance { Killed, Frozen };
enum class Moment { Before, During, After };
enum class Afterwards { CannotStart, StartsAgain, Continued };

struct Cell {
    Request request;
    Disturbance disturbance;
    Moment moment;
    Afterwards afterwards;
};

const char* nameOf(Request request) {
    constexpr std::array names = {"create", "start", "start_advertisement", "preload", "seek", "stop"};
    return names.at(static_cast<std::size_t>(request));
}

std::string nameOf(const Cell& cell) {
    constexpr std::array moments = {"before", "during", "after"};
    constexpr std::array afterwards = {"cannot_start", "starts_again", "continued"};
    return std::string(nameOf(cell.request)) + (cell.disturbance == Disturbance::Killed ? "_killed_" : "_frozen_") +
           moments.at(static_cast<std::size_t>(cell.moment)) + "_" +
           afterwards.at(static_cast<std::size_t>(cell.afterwards));
}

void PrintTo(const Cell& cell, std::ostream* stream) {
    *stream << nameOf(cell);
}

/// A title that is opened has no object before: its requests differ from a creation from then on only.
bool exists(const Cell& cell) {
    const bool opens = cell.request == Request::Start || cell.request == Request::StartAdvertisement ||
                       cell.request == Request::Preload;
    return !(opens && cell.moment == Moment::Before) &&
           !(cell.disturbance == Disturbance::Killed && cell.afterwards == Afterwards::Continued);
}

std::vector<Cell> allCells() {
    std::vector<Cell> cells;
    for (const Request request :
         {Request::Create, Request::Start, Request::StartAdvertisement, Request::Preload, Request::Seek, Request::Stop})
        for (const Disturbance disturbance : {Disturbance::Killed, Disturbance::Frozen})
            for (const Moment moment : {Moment::Before, Moment::During, Moment::After})
                for (const Afterwards afterwards :
                     {Afterwards::CannotStart, Afterwards::StartsAgain, Afterwards::Continued})
                    if (const Cell cell{request, disturbance, moment, afterwards}; exists(cell))
                        cells.push_back(cell);
    return cells;
}

const std::string kGone = "service gone the media service has died or hangs";
const std::string kNoService = "service gone the media service does not answer";

/// What the session says of the title "first", in this order.
Lines promiseOf(const Cell& cell) {
    const bool isAnswered = cell.moment == Moment::After;
    switch (cell.request) {
    case Request::Create: // a service that does not answer is started again
        if (isAnswered)
            return {"first: " + kGone};
        return {cell.afterwards == Afterwards::StartsAgain ? "first: URL" : "first: " + kNoService};
    case Request::Start:
    case Request::StartAdvertisement:
        return isAnswered ? Lines{"first: URL", "first is lost: " + kGone} : Lines{"first: " + kGone};
    case Request::Preload:
        return isAnswered ? Lines{"first: done", "first is lost: " + kGone} : Lines{"first: " + kGone};
    case Request::Seek:
        return {"first: URL", isAnswered ? "request: done" : "request: " + kGone, "first is lost: " + kGone};
    case Request::Stop:
        return {"first: URL", isAnswered ? "request: done" : "request: " + kGone};
    }
    return {};
}

class Disconnect : public SystemTest, public ::testing::WithParamInterface<Cell> {
protected:
    /// During: the service has carried the command out, and does not answer. After: it has answered.
    static std::string scenario() {
        if (GetParam().moment == Moment::Before)
            return kProperService;
        const bool isKilled = GetParam().disturbance == Disturbance::Killed;
        const bool isAfter = GetParam().moment == Moment::After;
        const std::string answer = R"({ "do": "answer" })";
        const std::string steps = isKilled  ? (isAfter ? answer + "," : "") + R"({ "do": "abort" })"
                                  : isAfter ? answer + R"(,{ "do": "freeze" })"
                                            : R"({ "do": "freeze" },)" + answer;
        const std::string command =
            GetParam().request == Request::StartAdvertisement ? "start" : nameOf(GetParam().request);
        return R"({"description": "One cell.", "rules": [{"command": ")" + command + R"(", "nth": 1, "steps": [)" +
               steps + "]}]}";
    }

    void disturb() {
        const bool isKilled = GetParam().disturbance == Disturbance::Killed;
        ASSERT_TRUE(sendSignal(m_service, isKilled ? SIGKILL : SIGSTOP));
        if (isKilled) {
            EXPECT_TRUE(eventually([] { return !BusPeer().isOwned(desktop::kServiceName); }));
        } else {
            EXPECT_TRUE(eventually([this] { return isStopped(m_service); }));
        }
    }

    void request() {
        switch (GetParam().request) {
        case Request::Create:
        case Request::Start:
            start("first");
            return;
        case Request::StartAdvertisement:
            startAdvertisement("first");
            return;
        case Request::Preload:
            preload("first");
            return;
        case Request::Seek:
            return session().seek(m_film, 1.0, {}, m_host.done("request"));
        case Request::Stop:
            return session().stop(m_film, m_host.done("request"));
        }
    }

    /// What a session says of the titles afterwards, given that nothing more comes of those before.
    void expectNextTitle(Lines before) {
        start("second");
        if (GetParam().afterwards == Afterwards::CannotStart) {
            before.push_back("second: " + kNoService);
            EXPECT_EQ(m_host.await("second: "), before.back());
        } else {
            before.emplace_back("second: URL");
            expectPlays("second");
        }
        EXPECT_EQ(linesWithoutUrls(), before);
    }

    Title m_film{};
};

TEST_P(Disconnect, HasOneOutcomeAndTheNextStartWorks) {
    const Cell& cell = GetParam();
    m_options.limits.creation = milliseconds(cell.afterwards == Afterwards::StartsAgain ? 10000 : 600);
    startService(scenario());
    if (cell.afterwards != Afterwards::StartsAgain)
        m_startable.nextFails();
    if (cell.request == Request::Seek || cell.request == Request::Stop) {
        m_film = start("first");
        EXPECT_TRUE(m_host.await("first: ").starts_with("first: http://"));
    }
    if (cell.moment == Moment::Before)
        disturb();

    request();

    const Lines promise = promiseOf(cell);
    EXPECT_TRUE(m_host.await([&] { return linesWithoutUrls().size() == promise.size(); }));
    EXPECT_EQ(linesWithoutUrls(), promise);
    if (cell.afterwards == Afterwards::Continued) {
        m_startable.nextPlays(kProperService); // the platform may have replaced the frozen one already
        static_cast<void>(sendSignal(m_service, SIGCONT));
    }
    expectNextTitle(promise);
}

INSTANTIATE_TEST_SUITE_P(, Disconnect, ::testing::ValuesIn(allCells()),
                         [](const auto& cell) { return nameOf(cell.param); });

// With the limits that a session has by default.
class DefaultLimits : public SystemTest {
protected:
    using Clock = std::chrono::steady_clock;

    DefaultLimits() { m_options.limits = {}; }

    static constexpr milliseconds kAllowance{600}; // for a busy machine

    const Clock::time_point m_begin = Clock::now();
};

TEST_F(DefaultLimits, FindAMissingFileAtOnce) {
    startService();
    start("film");
    m_host.await("film: ");
    const auto begin = Clock::now();

    session().start("/nowhere/film.webm", {}, m_host.started("missing"));

    EXPECT_TRUE(m_host.await("missing: ").starts_with("missing: not found 404 ")) << m_host.lines().back();
    EXPECT_LT(Clock::now() - begin, kAllowance) << "no time limit is waited for";
}

TEST_F(DefaultLimits, LeaveAServiceThatIsNotThereItsTimeToStart) {
    m_startable.nextPlays(kProperService);
    const auto begin = Clock::now();

    start("film");

    expectPlays("film");
    EXPECT_LT(Clock::now() - begin, milliseconds(2400) + kAllowance);
}

TEST_F(DefaultLimits, GiveUpAsSoonAsTheLibraryDoes) {
    m_startable.nextFails();
    const auto begin = Clock::now();

    start("film");

    EXPECT_EQ(m_host.await("film: "), "film: " + kNoService);
    EXPECT_GE(Clock::now() - begin, milliseconds(2400));
    EXPECT_LT(Clock::now() - begin, milliseconds(2400) + kAllowance);
    EXPECT_LE(m_startable.starts(), 1);
}

TEST_F(DefaultLimits, ReportADeadServiceInTheirTime) {
    startService();
    start("film");
    expectPlays("film");
    ASSERT_TRUE(sendSignal(m_service, SIGKILL));
    const auto begin = Clock::now();

    EXPECT_EQ(m_host.await("film is lost"), "film is lost: " + kGone);

    EXPECT_LT(Clock::now() - begin, milliseconds(2000) + kAllowance);
}

} // namespace
