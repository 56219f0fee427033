#include "base/quoted_text.h"

#include <gtest/gtest.h>

#include <string>

namespace velmora::desktop {
namespace {

TEST(QuotedText, LeavesTextAsItIs) {
    EXPECT_EQ(inQuotes(""), "\"\"");
    EXPECT_EQ(inQuotes("film 1.webm"), "\"film 1.webm\"");
    EXPECT_EQ(inQuotes("Фильм, 映画, für 5 €, 🎬"), "\"Фильм, 映画, für 5 €, 🎬\"");
}

TEST(QuotedText, EscapesWhatEndsOrStructuresALine) {
    EXPECT_EQ(inQuotes("a\"b\\c\nd\re\tf"), R"("a\"b\\c\nd\re\tf")");
}

TEST(QuotedText, EscapesWhatActsOnATerminalOrIsNotSeen) {
    EXPECT_EQ(inQuotes(std::string("\0\x1b[31m\x7f", 7)), R"("\x00\x1b[31m\x7f")");
    EXPECT_EQ(inQuotes("\u009b31m \u202e \u2028 \ufeff \U000e0041"), R"("\u009b31m \u202e \u2028 \ufeff \U000e0041")");
}

TEST(QuotedText, EscapesEachByteOfACharacterThatWasCut) {
    const std::string film = "🎬";
    EXPECT_EQ(inQuotes(film.substr(0, 3)), R"("\xf0\x9f\x8e")");
    EXPECT_EQ(inQuotes(film.substr(1)), R"("\x9f\x8e\xac")");
    EXPECT_EQ(inQuotes("\xc4"), R"("\xc4")");
    EXPECT_EQ(inQuotes("\xe4rger"), R"("\xe4rger")");
}

TEST(QuotedText, EscapesWhatIsNoUtf8) {
    EXPECT_EQ(inQuotes("\xc0\xaf"), R"("\xc0\xaf")");                 // not the shortest form
    EXPECT_EQ(inQuotes("\xe0\x80\xaf"), R"("\xe0\x80\xaf")");         // neither
    EXPECT_EQ(inQuotes("\xed\xa0\x80"), R"("\xed\xa0\x80")");         // a surrogate
    EXPECT_EQ(inQuotes("\xf4\x90\x80\x80"), R"("\xf4\x90\x80\x80")"); // beyond Unicode
    EXPECT_EQ(inQuotes("\xff\xfe"), R"("\xff\xfe")");
}

TEST(QuotedText, IsOneLineOfUtf8WhateverTheBytes) {
    for (unsigned first = 0; first < 256; ++first)
        for (unsigned second = 0; second < 256; ++second) {
            const std::string text{static_cast<char>(first), static_cast<char>(second)};
            const std::string line = inQuotes(text);
            EXPECT_EQ(inQuotes(inQuotes(text)).find('\n'), std::string::npos);
            EXPECT_TRUE(line.find_first_of("\n\r\x1b\x7f") == std::string::npos) << first << ' ' << second;
        }
}

} // namespace
} // namespace velmora::desktop
