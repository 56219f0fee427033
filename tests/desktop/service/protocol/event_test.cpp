#include "service/protocol/event.h"

#include <gtest/gtest.h>
#include <json/reader.h>

namespace velmora::desktop {
namespace {

constexpr std::size_t kLimit = 4095;

Command command(CommandName name) {
    return {name, "main_video", "ses-1", "obj-1", "", ""};
}

/// The members "0" to "10" as a reader of the region finds them.
std::vector<std::string> parsedMembers(const std::string& json) {
    Json::Value root;
    EXPECT_TRUE(Json::Reader().parse(json, root)) << json;
    std::vector<std::string> values;
    for (int i = 0; i <= 10; ++i)
        values.push_back(root[std::to_string(i)].asString());
    return values;
}

TEST(Event, AnswersRepeatWhatTheyAnswer) {
    EXPECT_EQ(toValues(answerTo(command(CommandName::Stop))),
              (std::vector<std::string>{"stopped", "200", "ses-1", "obj-1", "", "", "", "", "OK", "main_video", ""}));
}

class AnswerName : public testing::TestWithParam<std::pair<CommandName, const char*>> {};

TEST_P(AnswerName, BelongsToTheCommand) {
    EXPECT_EQ(answerTo(command(GetParam().first)).name, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(
    Event, AnswerName,
    testing::Values(std::pair(CommandName::Create, "created"), std::pair(CommandName::Start, "started"),
                    std::pair(CommandName::Stop, "stopped"), std::pair(CommandName::Seek, "seeked"),
                    std::pair(CommandName::Preload, "started"), std::pair(CommandName::Inspect, "status")));

TEST(Event, FailuresCarryCodeAndDetail) {
    const auto failure = CommandFailure(ResultCode::NotFound, "It is not there");
    EXPECT_EQ(toValues(failureOf(command(CommandName::Start), failure)),
              (std::vector<std::string>{"started", "404", "ses-1", "obj-1", "", "", "", "", "It is not there",
                                        "main_video", ""}));
}

TEST(Event, HasUrlAndDefinitionsInTheirPlaces) {
    Event event = answerTo(command(CommandName::Start));
    event.localUrl = "http://127.0.0.1:1/x";
    event.definitions = "[]";
    EXPECT_EQ(toValues(event).at(6), "http://127.0.0.1:1/x");
    EXPECT_EQ(toValues(event).at(7), "[]");
}

TEST(EventJson, IsCompactWithPositionsAsNames) {
    const std::vector<std::string> values{"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"};
    EXPECT_EQ(toJson(values),
              R"({"0":"a","1":"b","10":"k","2":"c","3":"d","4":"e","5":"f","6":"g","7":"h","8":"i","9":"j"})");
}

TEST(EventJson, ReadsBackByteForByteWhateverTheTextsHold) {
    std::vector<std::string> values(11);
    values[0] = "quotes \" and \\ and /";
    values[1] = std::string("zero \0 byte", 11);
    values[2] = "control \x01\x1f\x7f\n\t";
    values[3] = "\xff\xfe not UTF-8 \xc3";
    values[8] = "\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xac";
    EXPECT_EQ(parsedMembers(toJson(values)), values);
}

TEST(EventJson, HoldsNoZeroByte) {
    std::vector<std::string> values(11, std::string("\0\0", 2));
    EXPECT_EQ(toJson(values).find('\0'), std::string::npos);
}

TEST(FittedEvent, IsUnchangedWhenItFits) {
    Event event = answerTo(command(CommandName::Start));
    event.definitions = "[1]";
    EXPECT_EQ(toValues(fitted(event, toJson(toValues(event)).size())), toValues(event));
}

TEST(FittedEvent, LosesDetailFirst) {
    Event event = answerTo(command(CommandName::Start));
    event.definitions = "[1]";
    event.detail = std::string(5000, 'd');
    const Event small = fitted(event, kLimit);
    EXPECT_LE(toJson(toValues(small)).size(), kLimit);
    EXPECT_FALSE(small.detail.empty());
    EXPECT_EQ(small.definitions, event.definitions);
}

TEST(FittedEvent, IsCutBetweenCharacters) {
    Event event = answerTo(command(CommandName::Start));
    event.detail = "x";
    for (int i = 0; i < 2000; ++i)
        event.detail += "\xe2\x82\xac";
    const std::string detail = fitted(event, kLimit).detail;
    EXPECT_EQ(detail.size() % 3, 1U);
    EXPECT_EQ(detail, event.detail.substr(0, detail.size()));
}

TEST(FittedEvent, LosesDefinitionsWholeWhenTheDetailIsNotEnough) {
    Event event = answerTo(command(CommandName::Start));
    event.detail = std::string(5000, 'd');
    event.definitions = std::string(5000, 'q');
    const Event small = fitted(event, kLimit);
    EXPECT_EQ(small.definitions, "");
    EXPECT_EQ(small.session, "ses-1");
    EXPECT_LE(toJson(toValues(small)).size(), kLimit);
}

TEST(FittedEvent, FitsWithTheLongestIdentifiersAtTheirWidest) {
    Command longest = command(CommandName::Preload);
    longest.kind = longest.session = longest.objectId = std::string(128, '\x01');
    Event event = answerTo(longest);
    event.localUrl = "http://127.0.0.1:65535/0123456789abcdef0123456789abcdef";
    event.detail = std::string(5000, '\x01');
    event.definitions = std::string(5000, 'q');
    EXPECT_LE(toJson(toValues(fitted(event, kLimit))).size(), kLimit);
}

} // namespace
} // namespace velmora::desktop
