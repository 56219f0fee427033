#include "service/http/byte_range.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

using Kind = RequestedBytes::Kind;

struct RangeCase {
    const char* name;
    std::string field;
    std::uint64_t size;
    Kind kind;
    std::uint64_t first = 0;
    std::uint64_t length = 0;
};

class ByteRangeTest : public testing::TestWithParam<RangeCase> {};

TEST_P(ByteRangeTest, IsWhatTheFileHasOfIt) {
    const RequestedBytes requested = requestedBytes(GetParam().field, GetParam().size);
    ASSERT_EQ(requested.kind, GetParam().kind);
    if (requested.kind == Kind::Impossible)
        return;
    EXPECT_EQ(requested.bytes.first, GetParam().first);
    EXPECT_EQ(requested.bytes.length, GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(
    ByteRange, ByteRangeTest,
    testing::Values(
        RangeCase{"NoRange", "", 100, Kind::Whole, 0, 100}, RangeCase{"NoRangeOfAnEmptyFile", "", 0, Kind::Whole, 0, 0},
        RangeCase{"OtherUnit", "lines=1-2", 100, Kind::Whole, 0, 100},
        RangeCase{"NoUnit", "1-2", 100, Kind::Whole, 0, 100},
        RangeCase{"Several", "bytes=0-1,5-6", 100, Kind::Whole, 0, 100},
        RangeCase{"SeveralWithBlanks", "bytes=0-1 ,\t5-", 100, Kind::Whole, 0, 100},
        RangeCase{"Middle", "bytes=10-19", 100, Kind::Part, 10, 10},
        RangeCase{"UnitInCapitals", "BYTES=10-19", 100, Kind::Part, 10, 10},
        RangeCase{"EmptyElements", "bytes=, 10-19 ,", 100, Kind::Part, 10, 10},
        RangeCase{"FirstByte", "bytes=0-0", 100, Kind::Part, 0, 1},
        RangeCase{"LastByte", "bytes=99-99", 100, Kind::Part, 99, 1},
        RangeCase{"AllOfIt", "bytes=0-99", 100, Kind::Part, 0, 100},
        RangeCase{"BeyondEnd", "bytes=90-1000", 100, Kind::Part, 90, 10},
        RangeCase{"FarBeyondEnd", "bytes=90-99999999999999999999", 100, Kind::Part, 90, 10},
        RangeCase{"Open", "bytes=40-", 100, Kind::Part, 40, 60},
        RangeCase{"OpenAtLastByte", "bytes=99-", 100, Kind::Part, 99, 1},
        RangeCase{"Suffix", "bytes=-30", 100, Kind::Part, 70, 30},
        RangeCase{"LongSuffix", "bytes=-1000", 100, Kind::Part, 0, 100},
        RangeCase{"OverlongSuffix", "bytes=-99999999999999999999", 100, Kind::Part, 0, 100},
        RangeCase{"OfTheLargestFile", "bytes=0-", UINT64_MAX, Kind::Part, 0, UINT64_MAX},
        RangeCase{"OpenBehindEnd", "bytes=100-", 100, Kind::Impossible},
        RangeCase{"BehindEnd", "bytes=100-200", 100, Kind::Impossible},
        RangeCase{"FarBehindEnd", "bytes=" + std::string(4000, '1') + "-", 100, Kind::Impossible},
        RangeCase{"Backwards", "bytes=20-10", 100, Kind::Impossible},
        RangeCase{"EmptySuffix", "bytes=-0", 100, Kind::Impossible},
        RangeCase{"NoNumbers", "bytes=-", 100, Kind::Impossible}, RangeCase{"Nothing", "bytes=", 100, Kind::Impossible},
        RangeCase{"NoDash", "bytes=5", 100, Kind::Impossible}, RangeCase{"Letters", "bytes=x-y", 100, Kind::Impossible},
        RangeCase{"Sign", "bytes=+1-2", 100, Kind::Impossible},
        RangeCase{"TwoDashes", "bytes=--5", 100, Kind::Impossible},
        RangeCase{"LettersBehindNumbers", "bytes=1-2x", 100, Kind::Impossible},
        RangeCase{"OneOfSeveralMalformed", "bytes=0-1,x", 100, Kind::Impossible},
        RangeCase{"OfAnEmptyFile", "bytes=0-", 0, Kind::Impossible},
        RangeCase{"SuffixOfAnEmptyFile", "bytes=-5", 0, Kind::Impossible}),
    [](const auto& tested) { return tested.param.name; });

} // namespace
} // namespace velmora::desktop
