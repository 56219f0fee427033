#include "service/http/byte_range.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

using Ranges = std::vector<std::pair<ssize_t, ssize_t>>;

struct RangeCase {
    const char* name;
    Ranges ranges;
    std::uint64_t size;
    std::uint64_t first;
    std::uint64_t length; ///< 0: no byte to be had
};

class ByteRangeTest : public testing::TestWithParam<RangeCase> {};

TEST_P(ByteRangeTest, IsWhatTheFileHasOfIt) {
    const auto bytes = requestedBytes(GetParam().ranges, GetParam().size);
    ASSERT_EQ(bytes.has_value(), GetParam().length > 0);
    if (bytes) {
        EXPECT_EQ(bytes->first, GetParam().first);
        EXPECT_EQ(bytes->length, GetParam().length);
    }
}

INSTANTIATE_TEST_SUITE_P(
    ByteRange, ByteRangeTest,
    testing::Values(RangeCase{"NoRange", {}, 100, 0, 100}, RangeCase{"Middle", {{10, 19}}, 100, 10, 10},
                    RangeCase{"FirstByte", {{0, 0}}, 100, 0, 1}, RangeCase{"LastByte", {{99, 99}}, 100, 99, 1},
                    RangeCase{"Whole", {{0, 99}}, 100, 0, 100}, RangeCase{"BeyondEnd", {{90, 1000}}, 100, 90, 10},
                    RangeCase{"Open", {{40, -1}}, 100, 40, 60}, RangeCase{"OpenAtLastByte", {{99, -1}}, 100, 99, 1},
                    RangeCase{"OpenBehindEnd", {{100, -1}}, 100, 0, 0}, RangeCase{"BehindEnd", {{100, 200}}, 100, 0, 0},
                    RangeCase{"Backwards", {{20, 10}}, 100, 0, 0}, RangeCase{"Suffix", {{-1, 30}}, 100, 70, 30},
                    RangeCase{"LongSuffix", {{-1, 1000}}, 100, 0, 100}, RangeCase{"EmptySuffix", {{-1, 0}}, 100, 0, 0},
                    RangeCase{"NoNumbers", {{-1, -1}}, 100, 0, 0}, RangeCase{"OfAnEmptyFile", {{0, -1}}, 0, 0, 0},
                    RangeCase{"SuffixOfAnEmptyFile", {{-1, 5}}, 0, 0, 0},
                    RangeCase{"Several", {{0, 1}, {5, 6}}, 100, 0, 0}),
    [](const auto& tested) { return tested.param.name; });

} // namespace
} // namespace velmora::desktop
