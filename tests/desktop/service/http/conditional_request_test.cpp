#include "service/http/conditional_request.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

constexpr const char* kBefore = "Sun, 06 Nov 1994 08:49:36 GMT";
constexpr const char* kThen = "Sun, 06 Nov 1994 08:49:37 GMT";
constexpr const char* kAfter = "Sun, 06 Nov 1994 08:49:38 GMT";

const Validators kCurrent{"\"now\"", 784111777};

struct Case {
    const char* name;
    HttpFields fields;
    int status;
};

class ConditionalRequestTest : public testing::TestWithParam<Case> {};

TEST_P(ConditionalRequestTest, IsEvaluated) {
    EXPECT_EQ(evaluateConditions({"GET", "/", GetParam().fields}, kCurrent), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    ConditionalRequest, ConditionalRequestTest,
    testing::Values(
        Case{"NoCondition", {}, 200}, Case{"MatchesTag", {{"If-Match", "\"now\""}}, 200},
        Case{"MatchesOtherTag", {{"If-Match", "\"then\""}}, 412}, Case{"MatchesAny", {{"If-Match", "*"}}, 200},
        Case{"MatchesOneOfSeveral", {{"If-Match", "\"a,\", W/\"b\",\"now\""}}, 200},
        Case{"MatchesWeakTag", {{"If-Match", "W/\"now\""}}, 412}, Case{"MatchesNonsense", {{"If-Match", "now"}}, 412},
        Case{"MatchesHalfATag", {{"If-Match", "\"now"}}, 412}, Case{"MatchesHalfAWeakTag", {{"If-Match", "W/"}}, 412},
        Case{"UnmodifiedSinceThen", {{"If-Unmodified-Since", kThen}}, 200},
        Case{"UnmodifiedSinceBefore", {{"If-Unmodified-Since", kBefore}}, 412},
        Case{"UnmodifiedSinceNonsense", {{"If-Unmodified-Since", "yesterday"}}, 200},
        Case{"TagCountsMoreThanDate", {{"If-Match", "\"now\""}, {"If-Unmodified-Since", kBefore}}, 200},
        Case{"NoneMatchesTag", {{"If-None-Match", "\"now\""}}, 304},
        Case{"NoneMatchesWeakTag", {{"If-None-Match", "W/\"now\""}}, 304},
        Case{"NoneMatchesAny", {{"If-None-Match", "*"}}, 304},
        Case{"NoneMatchesOtherTags", {{"If-None-Match", "\"a\", \"b\""}}, 200},
        Case{"ModifiedSinceBefore", {{"If-Modified-Since", kBefore}}, 200},
        Case{"ModifiedSinceThen", {{"If-Modified-Since", kThen}}, 304},
        Case{"ModifiedSinceAfter", {{"If-Modified-Since", kAfter}}, 304},
        Case{"ModifiedSinceNonsense", {{"If-Modified-Since", "yesterday"}}, 200},
        Case{"ModifiedSinceInAnOldForm", {{"If-Modified-Since", "Sunday, 06-Nov-94 08:49:37 GMT"}}, 304},
        Case{"NewTagCountsMoreThanDate", {{"If-None-Match", "\"a\""}, {"If-Modified-Since", kThen}}, 200},
        Case{"BothConditions", {{"If-Match", "\"then\""}, {"If-None-Match", "\"now\""}}, 412}),
    [](const auto& tested) { return tested.param.name; });

bool rangeAppliesIf(const std::string& condition) {
    return rangeApplies({"GET", "/", {{"If-Range", condition}}}, kCurrent);
}

TEST(ConditionalRequest, ARangeAppliesToTheStateThatItIsFor) {
    EXPECT_TRUE(rangeApplies({"GET", "/", {}}, kCurrent));
    EXPECT_TRUE(rangeAppliesIf("\"now\""));
    EXPECT_TRUE(rangeAppliesIf(kThen));
}

TEST(ConditionalRequest, ARangeOfAnotherStateIsIgnored) {
    for (const char* condition : {"\"then\"", "W/\"now\"", "now", kBefore, kAfter, "*"})
        EXPECT_FALSE(rangeAppliesIf(condition)) << condition;
}

TEST(ConditionalRequest, DatesAreWrittenAsHttpHasThem) {
    EXPECT_EQ(httpDate(784111777), kThen);
    EXPECT_EQ(httpDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
}

} // namespace
} // namespace velmora::desktop
