// Every operation with a log that wants few lines or none: only the lines that are wanted come out, and the rest of
// what the operation does is the same.
#include "client/operation_under_test.h"

#include <exception>
#include <tuple>

namespace velmora::test {
namespace {

constexpr unsigned kNone = 0;

/// A group of operations, and the level that the log wants up to.
class WantedLines : public PlatformTest, public ::testing::WithParamInterface<std::tuple<OperationGroup, unsigned>> {
protected:
    static unsigned levelOf(const std::string& logLine) {
        const std::string word = "level ";
        return static_cast<unsigned>(std::stoul(logLine.substr(logLine.find(word) + word.size())));
    }

    static std::vector<std::string> wantedOf(std::vector<std::string> lines, unsigned wantedUpTo) {
        std::erase_if(lines, [wantedUpTo](const std::string& line) {
            return line.starts_with("log ") && levelOf(line) > wantedUpTo;
        });
        return lines;
    }
};

TEST_P(WantedLines, AreAllThatComesOut) {
    const auto& [group, wantedUpTo] = GetParam();
    for (const Operation& operation : group.operations) {
        SCOPED_TRACE(operation.name);
        Outcome expected = undisturbedOutcome(operation, group.mode);
        expected.journal = wantedOf(expected.journal, wantedUpTo);
        OwnClient client(group.mode);
        operation.prepare(client);
        client.beginCall();
        recordingLog().wantedUpTo = wantedUpTo;

        expectSame(outcomeOf<std::exception>(operation, client), expected);

        recordingLog().wantedUpTo = RecordingLog().wantedUpTo;
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, WantedLines,
                         ::testing::Combine(::testing::ValuesIn(everyOperation()),
                                            ::testing::Values(kNone, 1u, 1000u, 4000u)),
                         [](const auto& wanted) {
                             return std::get<0>(wanted.param).name + std::string("UpTo") +
                                    std::to_string(std::get<1>(wanted.param));
                         });

// What stands outside the table: how the library's parts are made and end, and what the platform refuses.
class UnwantedLine : public ManagerTest {
protected:
    UnwantedLine() { recordingLog().wantedUpTo = kNone; }
    ~UnwantedLine() override { EXPECT_TRUE(journal().linesOf("log").empty()); }
};

TEST_F(UnwantedLine, OfTheEntryPointStaysAway) {
    EXPECT_NE(requestZUVMediaProxy(), nullptr);
}

TEST_F(UnwantedLine, OfAManagersEndStaysAway) {
    ZUVMediaProxyManager();

    EXPECT_EQ(journal().count(unlinked()), 1u);
}

TEST_F(UnwantedLine, OfARequestWithoutAccessStaysAway) {
    loseAccess();

    EXPECT_EQ(manager.requestRemoteObjectInspectSync(), -1);
}

TEST_F(UnwantedLine, OfAServiceStartWithoutAccessStaysAway) {
    manager.m_modelAccess.reset();

    manager.requestStartZUVService();
}

TEST_F(UnwantedLine, OfAUuidWithoutMemoryStaysAway) {
    failNext(Call::UuidBuffer);

    EXPECT_EQ(manager.generateUUID(), "");
}

TEST_F(UnwantedLine, OfAMissingRegionStaysAway) {
    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "");

    EXPECT_EQ(bus().commandCount("create"), 3);
}

TEST_F(UnwantedLine, OfARegionThatIsMappedToNullStaysAway) {
    eventRegion().create();
    failNext(Call::MapRegionToNull);

    EXPECT_EQ(manager.checkZUVEventMemory(), -1);
}

} // namespace
} // namespace velmora::test
