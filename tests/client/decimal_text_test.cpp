// How commands write numbers: exactly as "%f" does in the C locale, for every double.
#include "client/client_test.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

namespace velmora::test {
namespace {

class DecimalText : public ManagerTest {
protected:
    DecimalText() {
        bus().onPublish = [this](const std::string&, const Strings& command) { m_position = command.at(5); };
    }
    /// A position, as the client sends it.
    std::string sent(double value) {
        manager.requestRemoteObjectSeek("movie", value, "");
        journal().clear();
        return m_position;
    }

private:
    std::string m_position;
};

#ifdef ZUV_EMULATED
constexpr int kNumbers = 1000;
#else
constexpr int kNumbers = 20'000;
#endif

/// This process never leaves the C locale.
std::string printed(double value) {
    std::array<char, 400> text;
    const int length = std::snprintf(text.data(), text.size(), "%f", value);
    return {text.data(), static_cast<std::size_t>(length)};
}

TEST_F(DecimalText, OfSpecialValuesIsWhatPrintfWrites) {
    using Limits = std::numeric_limits<double>;
    for (const double value : {0.0,
                               Limits::infinity(),
                               Limits::quiet_NaN(),
                               Limits::signaling_NaN(),
                               Limits::max(),
                               Limits::min(),
                               Limits::denorm_min(),
                               Limits::epsilon(),
                               0.0000005,
                               0.0000015,
                               0.0000025,
                               0.5,
                               1.5,
                               0.9999994,
                               0.9999995,
                               0.9999996,
                               9.9999995,
                               4503599627370496.5,
                               1e15,
                               1e22,
                               1e23,
                               1e300}) {
        EXPECT_EQ(sent(value), printed(value));
        EXPECT_EQ(sent(-value), printed(-value));
    }
    EXPECT_EQ(sent(std::copysign(Limits::quiet_NaN(), -1.0)), "-nan");
    EXPECT_EQ(sent(-Limits::infinity()), "-inf");
    EXPECT_EQ(sent(-0.0), "-0.000000");
}

TEST_F(DecimalText, OfAnyBitsIsWhatPrintfWrites) {
    std::mt19937_64 bits(1);
    for (int nth = 0; nth < kNumbers; ++nth) {
        const auto value = std::bit_cast<double>(bits());
        ASSERT_EQ(sent(value), printed(value)) << std::bit_cast<uint64_t>(value);
    }
}

TEST_F(DecimalText, OfAnyPositionIsWhatPrintfWrites) {
    std::mt19937_64 bits(2);
    std::uniform_real_distribution<double> seconds(-100'000.0, 100'000.0);
    for (int nth = 0; nth < kNumbers; ++nth) {
        const double value = seconds(bits);
        ASSERT_EQ(sent(value), printed(value)) << std::bit_cast<uint64_t>(value);
    }
}

} // namespace
} // namespace velmora::test
