#include "service/protocol/command.h"
#include "service/protocol/result_code.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

std::vector<std::string> vectorWith(std::initializer_list<std::pair<std::size_t, std::string>> entries) {
    std::vector<std::string> values(11);
    for (const auto& [position, text] : entries)
        values[position] = text;
    return values;
}

TEST(Command, HasItsEntriesByPosition) {
    const auto command = decodeCommand(vectorWith({{0, "preload"},
                                                   {1, "advertisement"},
                                                   {2, "ses-1"},
                                                   {3, "obj-1"},
                                                   {4, "12.000000"},
                                                   {5, "1.500000"},
                                                   {6, "file:///a"},
                                                   {9, "-7"}}));
    EXPECT_EQ(command.name, CommandName::Preload);
    EXPECT_EQ(command.kind, "advertisement");
    EXPECT_EQ(command.session, "ses-1");
    EXPECT_EQ(command.objectId, "obj-1");
    EXPECT_EQ(command.position, "1.500000");
    EXPECT_EQ(command.url, "file:///a");
}

TEST(Command, SeekGoesToTheMainVideo) {
    const auto command = decodeCommand(vectorWith({{0, "seek"}, {2, "ses-1"}, {3, "obj-1"}, {5, "1.0"}}));
    EXPECT_EQ(command.kind, "main_video");
}

class KnownCommand : public testing::TestWithParam<std::pair<const char*, CommandName>> {};

TEST_P(KnownCommand, IsKnownByItsName) {
    const auto command = decodeCommand(vectorWith({{0, GetParam().first}}));
    EXPECT_EQ(command.name, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Command, KnownCommand,
                         testing::Values(std::pair("create", CommandName::Create),
                                         std::pair("start", CommandName::Start), std::pair("stop", CommandName::Stop),
                                         std::pair("seek", CommandName::Seek),
                                         std::pair("preload", CommandName::Preload),
                                         std::pair("inspect", CommandName::Inspect)));

struct NoCommandCase {
    std::vector<std::string> values;
    std::string detail;
};

class NoCommand : public testing::TestWithParam<NoCommandCase> {};

TEST_P(NoCommand, IsABadCommandWithTheReasonInItsDetail) {
    try {
        decodeCommand(GetParam().values);
        FAIL() << "accepted";
    } catch (const CommandFailure& failure) {
        EXPECT_EQ(failure.code(), ResultCode::BadCommand);
        EXPECT_EQ(failure.what(), GetParam().detail);
    }
}

const std::string kTooLong = "A kind or identifier of more than 128 bytes";

INSTANTIATE_TEST_SUITE_P(
    Command, NoCommand,
    testing::Values(NoCommandCase{{}, "A command has 11 entries, not 0"},
                    NoCommandCase{{"start"}, "A command has 11 entries, not 1"},
                    NoCommandCase{std::vector<std::string>(10, "stop"), "A command has 11 entries, not 10"},
                    NoCommandCase{std::vector<std::string>(12, "stop"), "A command has 11 entries, not 12"},
                    NoCommandCase{vectorWith({}), R"(No such command: "")"},
                    NoCommandCase{vectorWith({{0, "pause"}}), R"(No such command: "pause")"},
                    NoCommandCase{vectorWith({{0, "Start"}}), R"(No such command: "Start")"},
                    NoCommandCase{vectorWith({{0, std::string("start\0", 6)}}), R"(No such command: "start\x00")"},
                    NoCommandCase{vectorWith({{0, std::string(100000, 'x')}}),
                                  "No such command: \"" + std::string(200, 'x') + '"'},
                    NoCommandCase{vectorWith({{0, "start"}, {1, std::string(129, 'k')}}), kTooLong},
                    NoCommandCase{vectorWith({{0, "start"}, {2, std::string(129, 's')}}), kTooLong},
                    NoCommandCase{vectorWith({{0, "start"}, {3, std::string(129, 'o')}}), kTooLong}));

TEST(Command, IdentifiersOf128BytesPass) {
    EXPECT_NO_THROW(decodeCommand(
        vectorWith({{0, "stop"}, {1, std::string(128, 'k')}, {2, std::string(128, 's')}, {3, std::string(128, 'o')}})));
}

TEST(MediaKind, IsOneOfTwo) {
    EXPECT_EQ(mediaKind("main_video"), MediaKind::MainVideo);
    EXPECT_EQ(mediaKind("advertisement"), MediaKind::Advertisement);
}

class NoKind : public testing::TestWithParam<const char*> {};

TEST_P(NoKind, IsABadCommand) {
    try {
        mediaKind(GetParam());
        FAIL() << "accepted";
    } catch (const CommandFailure& failure) {
        EXPECT_EQ(failure.code(), ResultCode::BadCommand);
    }
}

INSTANTIATE_TEST_SUITE_P(MediaKind, NoKind, testing::Values("", "main", "Main_video", "main_video "));

TEST(Position, IsInSeconds) {
    EXPECT_EQ(positionSeconds("12.500000"), 12.5);
    EXPECT_EQ(positionSeconds("0.000000"), 0);
    EXPECT_EQ(positionSeconds("-0.000000"), 0);
    EXPECT_EQ(positionSeconds("3"), 3);
}

class NoPosition : public testing::TestWithParam<std::string> {};

TEST_P(NoPosition, IsABadCommandWithTheTextInItsDetail) {
    try {
        positionSeconds(GetParam());
        FAIL() << "accepted";
    } catch (const CommandFailure& failure) {
        EXPECT_EQ(failure.code(), ResultCode::BadCommand);
        EXPECT_STREQ(failure.what(), ("No position in seconds: \"" + GetParam() + "\"").c_str());
    }
}

INSTANTIATE_TEST_SUITE_P(Position, NoPosition,
                         testing::Values("", " 1", "1 ", "1s", "half", "nan", "-nan", "inf", "-1.000000", "1e300",
                                         "1000000001", "1,5", "0x10"));

} // namespace
} // namespace velmora::desktop
