// The event region: mapping it, and what its text becomes.
#include "client/client_test.h"

#include <json/version.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <exception>

namespace velmora::test {
namespace {

const Strings kFourParameters = {"started", "200", "ses-1", "movie"};

/// The four parameters of an event with fewer than eleven members, filled up.
Strings eleven(Strings parameters) {
    parameters.resize(11);
    return parameters;
}

// checkZUVEventMemory

class EventMemoryCheck : public ManagerTest {};

TEST_F(EventMemoryCheck, MapsTheRegionForReading) {
    eventRegion().create();

    EXPECT_EQ(manager.checkZUVEventMemory(), 0);

    EXPECT_JOURNAL_LINES(regionChecked());
    EXPECT_EQ(eventRegion().size(), 4096u);
    EXPECT_EQ(eventRegion().openDescriptors(), 0u);
    eventRegion().write("text");
    ASSERT_NE(manager.m_eventMemory, nullptr);
    EXPECT_EQ(std::string(manager.m_eventMemory), "text");
}

TEST_F(EventMemoryCheck, FailsWithoutTheRegion) {
    EXPECT_EQ(manager.checkZUVEventMemory(), -1);

    EXPECT_JOURNAL(opened(), managerLog(4000, "checkZUVEventMemory", "Failed to allocate shared memory\n\n"));
    EXPECT_EQ(manager.m_eventMemory, nullptr);
}

TEST_F(EventMemoryCheck, KeepsAnEarlierMappingWhenTheRegionIsGone) {
    mapRegion();
    const char* mapping = manager.m_eventMemory;
    eventRegion().remove();

    EXPECT_EQ(manager.checkZUVEventMemory(), -1);

    EXPECT_EQ(manager.m_eventMemory, mapping);
}

TEST_F(EventMemoryCheck, LeavesTheDescriptorOpenWhenTheRegionCannotBeResized) {
    eventRegion().create();
    failEvery(Call::ResizeRegion);

    EXPECT_EQ(manager.checkZUVEventMemory(), -1);

    EXPECT_JOURNAL(opened(), resized(),
                   managerLog(4000, "checkZUVEventMemory", "Failed to allocate shared memory\n\n"));
    EXPECT_EQ(eventRegion().openDescriptors(), 1u);
    EXPECT_EQ(manager.m_eventMemory, nullptr);
}

TEST_F(EventMemoryCheck, KeepsAnEarlierMappingWhenTheRegionCannotBeResized) {
    mapRegion();
    const char* mapping = manager.m_eventMemory;
    failNext(Call::ResizeRegion);

    EXPECT_EQ(manager.checkZUVEventMemory(), -1);

    EXPECT_EQ(manager.m_eventMemory, mapping);
}

TEST_F(EventMemoryCheck, TakesDescriptorZeroForASuccess) {
    eventRegion().create();
    close(STDIN_FILENO);

    EXPECT_EQ(manager.checkZUVEventMemory(), 0);

    EXPECT_JOURNAL_LINES(regionChecked());
}

TEST_F(EventMemoryCheck, TakesANullMappingForAFailureAndStoresIt) {
    mapRegion();
    failEvery(Call::MapRegionToNull);

    EXPECT_EQ(manager.checkZUVEventMemory(), -1);

    EXPECT_JOURNAL(opened(), resized(), mapped(),
                   managerLog(4000, "checkZUVEventMemory", "Failed to mmap buffer shared memory\n\n"));
    EXPECT_EQ(manager.m_eventMemory, nullptr);
    EXPECT_EQ(eventRegion().openDescriptors(), 1u);
}

TEST_F(EventMemoryCheck, TakesMapFailedForASuccess) {
    eventRegion().create();
    failEvery(Call::MapRegion);

    EXPECT_EQ(manager.checkZUVEventMemory(), 0);

    EXPECT_JOURNAL_LINES(regionChecked());
    EXPECT_EQ(manager.m_eventMemory, MAP_FAILED);
    EXPECT_EQ(eventRegion().openDescriptors(), 0u);
}

TEST_F(EventMemoryCheck, MapsAnewEachTimeAndNeverUnmaps) {
    eventRegion().create();
    manager.checkZUVEventMemory();
    const char* first = manager.m_eventMemory;
    journal().clear();

    EXPECT_EQ(manager.checkZUVEventMemory(), 0);

    EXPECT_JOURNAL_LINES(regionChecked());
    EXPECT_NE(manager.m_eventMemory, first);
    eventRegion().write("text");
    EXPECT_EQ(std::string(first), "text");
}

// readZUVEventMemory

class EventMemoryRead : public ManagerTest {
protected:
    EventMemoryRead() { mapRegion(); }
};

TEST_F(EventMemoryRead, IsEmptyBeforeTheRegionIsMapped) {
    manager.m_eventMemory = nullptr;

    EXPECT_TRUE(manager.readZUVEventMemory().empty());

    EXPECT_JOURNAL(regionNotMapped());
}

TEST_F(EventMemoryRead, FillsMissingMembersWithEmptyTexts) {
    eventRegion().writeEvent(kFourParameters);

    EXPECT_EQ(manager.readZUVEventMemory(), eleven(kFourParameters));
}

TEST_F(EventMemoryRead, LogsTheTextAndThenEveryParameter) {
    eventRegion().writeEvent(kFourParameters);

    manager.readZUVEventMemory();

    EXPECT_JOURNAL_LINES(regionRead(kFourParameters));
}

TEST_F(EventMemoryRead, GivesAllElevenParameters) {
    const Strings all = {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"};
    eventRegion().writeEvent(all);

    EXPECT_EQ(manager.readZUVEventMemory(), all);
}

TEST_F(EventMemoryRead, GivesTheSameEventUntilTheServiceWritesTheNext) {
    eventRegion().writeEvent({"first"});
    EXPECT_EQ(manager.readZUVEventMemory(), eleven({"first"}));
    EXPECT_EQ(manager.readZUVEventMemory(), eleven({"first"}));

    eventRegion().writeEvent({"second"});

    EXPECT_EQ(manager.readZUVEventMemory(), eleven({"second"}));
}

TEST_F(EventMemoryRead, CopiesTheWholeRegionIntoTheBuffer) {
    std::string content(kRegionSize, '\0');
    std::ranges::generate(content, [c = 0]() mutable { return static_cast<char>(c++ % 127); });
    eventRegion().write(content);

    manager.readZUVEventMemory();

    EXPECT_EQ(std::string(manager.m_eventBuffer, sizeof manager.m_eventBuffer), content);
}

TEST_F(EventMemoryRead, ParsesItsCopyWhateverTheServiceWritesMeanwhile) {
    eventRegion().writeEvent({"first"});
    recordingLog().onLine = [](const std::string&) { eventRegion().writeEvent({"second"}); };

    EXPECT_EQ(manager.readZUVEventMemory(), eleven({"first"}));
}

TEST_F(EventMemoryRead, TakesNoLock) {
    eventRegion().writeEvent(kFourParameters);
    watch(manager.m_mutex, "manager");

    manager.readZUVEventMemory();

    EXPECT_EQ(journal().count(locked("manager")), 0u);
}

TEST_F(EventMemoryRead, EndsTheTextAtItsFirstZeroByte) {
    const std::string text = R"({"0":"started"})";
    eventRegion().write(text + '\0' + "garbage of a longer event\"}");

    EXPECT_EQ(manager.readZUVEventMemory(), eleven({"started"}));

    EXPECT_EQ(journal().lines().front(), managerLog(4000, "readZUVEventMemory", "buf: %s\n", text.c_str()));
}

TEST_F(EventMemoryRead, TakesATextThatAZeroByteCutsOffForInvalid) {
    eventRegion().write(std::string(R"({"0":"star)") + '\0' + R"(ted"})");

    EXPECT_TRUE(manager.readZUVEventMemory().empty());
}

TEST_F(EventMemoryRead, BoundsATextWithoutZeroByteToTheRegion) {
    const std::string text = R"({"0":"started"})" + std::string(kRegionSize - 15, ' ');
    ASSERT_EQ(text.size(), kRegionSize);
    eventRegion().write(text);

    EXPECT_EQ(manager.readZUVEventMemory(), eleven({"started"}));

    EXPECT_EQ(journal().lines().front(), managerLog(4000, "readZUVEventMemory", "buf: %s\n", text.c_str()));
}

TEST_F(EventMemoryRead, PassesBytesThatAreNoUtf8Unchanged) {
    eventRegion().write("{\"6\":\"\xFF\xC3(\"}");

    EXPECT_EQ(manager.readZUVEventMemory().at(6), "\xFF\xC3(");
}

struct ValidText {
    const char* name;
    std::string text;
    Strings parameters;
};

class ValidEventText : public EventMemoryRead, public ::testing::WithParamInterface<ValidText> {};

TEST_P(ValidEventText, BecomesParameters) {
    eventRegion().write(GetParam().text);

    const Strings parameters = manager.readZUVEventMemory();

    EXPECT_EQ(parameters, eleven(GetParam().parameters));
    EXPECT_JOURNAL_LINES(regionRead(GetParam().text, eleven(GetParam().parameters)));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ValidEventText,
    ::testing::Values(ValidText{"WholeNumber", R"({"1":200})", {"", "200"}},
                      ValidText{"NegativeNumber", R"({"1":-3})", {"", "-3"}},
                      ValidText{"NumberWithFraction", R"({"1":200.0})", {"", "200.0"}},
                      ValidText{"NumberWithExponent", R"({"1":2e2})", {"", "200.0"}},
                      ValidText{"Booleans", R"({"0":true,"1":false})", {"true", "false"}},
                      ValidText{"Null", R"({"0":"started","1":null})", {"started", ""}},
                      ValidText{"EmptyObject", "{}", {}}, ValidText{"NullRoot", "null", {}},
                      ValidText{"OtherMembers", R"({"0":"a","11":"x","00":"y","name":"z","-1":"w"})", {"a"}},
                      ValidText{"ObjectInAnotherMember", R"({"0":"a","extra":{"b":[1]}})", {"a"}},
                      ValidText{"MembersInAnyOrder", R"({"1":"b","0":"a"})", {"a", "b"}},
                      ValidText{"Comment", "/* c */ {\"0\":\"a\"} // d", {"a"}},
                      ValidText{"TextBehindTheObject", R"({"0":"a"} behind)", {"a"}},
                      ValidText{"RepeatedMember", R"({"0":"a","0":"b"})", {"b"}},
                      ValidText{"EscapedCharacters", R"({"0":"a\n\"\u00e9"})", {"a\n\"\xC3\xA9"}}),
    caseName);

struct InvalidText {
    const char* name;
    std::string text;
};

class InvalidEventText : public EventMemoryRead, public ::testing::WithParamInterface<InvalidText> {};

TEST_P(InvalidEventText, GivesAnEmptyListAndOneFailureLine) {
    const std::string& text = GetParam().text;
    eventRegion().write(text);

    EXPECT_TRUE(manager.readZUVEventMemory().empty());

    EXPECT_JOURNAL(managerLog(4000, "readZUVEventMemory", "buf: %s\n", text.c_str()),
                   managerLog(1000, "readZUVEventMemory", "Fail to parse json string:%s.\n", text.c_str()));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, InvalidEventText,
    ::testing::Values(InvalidText{"AllZero", ""}, InvalidText{"Blank", " "}, InvalidText{"Words", "not json at all"},
                      InvalidText{"CutOff", R"({"0":"star)"}, InvalidText{"ByteOrderMark", "\xEF\xBB\xBF{}"},
                      InvalidText{"PrefixedObject", R"(x{"0":"a"})"}, InvalidText{"UnquotedMember", R"({0:"a"})"},
                      InvalidText{"ArrayRoot", R"(["started"])"}, InvalidText{"EmptyArrayRoot", "[]"},
                      InvalidText{"StringRoot", R"("started")"}, InvalidText{"NumberRoot", "200"},
                      InvalidText{"FractionRoot", "2.5"}, InvalidText{"TrueRoot", "true"},
                      InvalidText{"FalseRoot", "false"}, InvalidText{"DeepArray", std::string(2000, '[')},
                      InvalidText{"DeepMember", "{\"0\":" + std::string(1500, '[') + std::string(1500, ']') + "}"}),
    caseName);

// Invalid up to JsonCpp 1.9.5, infinity since.
TEST_F(EventMemoryRead, LeavesToJsonCppWhatANumberBeyondDoubleIs) {
    eventRegion().write(R"({"0":1e309})");

    const Strings infinity = eleven({"1e+9999"});
    EXPECT_EQ(manager.readZUVEventMemory(), JSONCPP_VERSION_HEXA < 0x01090600 ? Strings{} : infinity);
}

TEST_F(EventMemoryRead, BoundsAnInvalidTextWithoutZeroByteToTheRegion) {
    const std::string text(kRegionSize, 'x');
    eventRegion().write(text);

    EXPECT_TRUE(manager.readZUVEventMemory().empty());

    EXPECT_JOURNAL(managerLog(4000, "readZUVEventMemory", "buf: %s\n", text.c_str()),
                   managerLog(1000, "readZUVEventMemory", "Fail to parse json string:%s.\n", text.c_str()));
}

class NestedMember : public EventMemoryRead, public ::testing::WithParamInterface<InvalidText> {};

TEST_P(NestedMember, RaisesTheReadersExceptionBeforeAnyParameterIsLogged) {
    eventRegion().write(GetParam().text);

    EXPECT_THROW(manager.readZUVEventMemory(), std::exception);

    EXPECT_JOURNAL(managerLog(4000, "readZUVEventMemory", "buf: %s\n", GetParam().text.c_str()),
                   managerLog(4000, "readZUVEventMemory", "updateParameters\n"));
}

TEST_P(NestedMember, DoesNotSpoilTheNextRead) {
    eventRegion().write(GetParam().text);
    EXPECT_THROW(manager.readZUVEventMemory(), std::exception);

    eventRegion().writeEvent(kFourParameters);

    EXPECT_EQ(manager.readZUVEventMemory(), eleven(kFourParameters));
}

INSTANTIATE_TEST_SUITE_P(Texts, NestedMember,
                         ::testing::Values(InvalidText{"Object", R"({"0":"a","1":{}})"},
                                           InvalidText{"Array", R"({"0":"a","1":["b"]})"},
                                           InvalidText{"LastMember", R"({"0":"a","10":{"b":"c"}})"}),
                         caseName);

// readZUVEvent

class EventRead : public ManagerTest {
protected:
    static std::string askedTheBus() { return busLine(std::string("read ") + kEventTopic); }
};

TEST_F(EventRead, PrefersSharedMemory) {
    mapRegion();
    eventRegion().writeEvent(kFourParameters);
    bus().topicValue = {"other"};

    EXPECT_EQ(manager.readZUVEvent(), eleven(kFourParameters));

    EXPECT_JOURNAL_LINES(
        joined({regionRead(kFourParameters), {managerLog(4000, "readZUVEvent", "read memory success.\n")}}));
}

TEST_F(EventRead, AsksTheBusWhileTheRegionIsNotMapped) {
    bus().topicValue = {"started", "200"};
    bus().result = -1;

    EXPECT_EQ(manager.readZUVEvent(), (Strings{"started", "200"}));

    EXPECT_JOURNAL(regionNotMapped(), askedTheBus(),
                   managerLog(5000, "readZUVEvent", "parameter %d: %s \n", 0, "started"),
                   managerLog(5000, "readZUVEvent", "parameter %d: %s \n", 1, "200"));
}

TEST_F(EventRead, AsksTheBusWhenTheTextIsNotJson) {
    mapRegion();
    eventRegion().write("words");
    bus().topicValue = {"started"};

    EXPECT_EQ(manager.readZUVEvent(), Strings{"started"});

    EXPECT_JOURNAL(managerLog(4000, "readZUVEventMemory", "buf: %s\n", "words"),
                   managerLog(1000, "readZUVEventMemory", "Fail to parse json string:%s.\n", "words"), askedTheBus(),
                   managerLog(5000, "readZUVEvent", "parameter %d: %s \n", 0, "started"));
}

TEST_F(EventRead, IsEmptyWithoutALineWhenTheBusHasNothingEither) {
    EXPECT_TRUE(manager.readZUVEvent().empty());

    EXPECT_JOURNAL(regionNotMapped(), askedTheBus());
}

TEST_F(EventRead, GivesAListOfTheBusInItsWholeLength) {
    bus().topicValue = Strings(13, "text");

    EXPECT_EQ(manager.readZUVEvent(), Strings(13, "text"));

    EXPECT_EQ(journal().lines().back(), managerLog(5000, "readZUVEvent", "parameter %d: %s \n", 12, "text"));
}

TEST_F(EventRead, TakesNoLock) {
    watch(manager.m_mutex, "manager");

    manager.readZUVEvent();

    EXPECT_EQ(journal().count(locked("manager")), 0u);
}

// There is no connection to fall back on, and none is asked for: reading is for a manager that is connected.
TEST_F(EventRead, NeitherChecksForAConnectionNorMakesOne) {
    manager.m_modelAccess.reset();

    EXPECT_DEATH(manager.readZUVEvent(), "");
}

TEST_F(EventRead, LogsNothingWhileLevelsAreOff) {
    bus().topicValue = {"started"};
    recordingLog().wantedUpTo = 0;

    EXPECT_EQ(manager.readZUVEvent(), Strings{"started"});

    EXPECT_JOURNAL(askedTheBus());
}

} // namespace
} // namespace velmora::test
