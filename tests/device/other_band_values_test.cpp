#include "device/other_band.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(OtherBandBssid, is_always_zero_within_the_given_length) {
    std::array<uint8_t, 8> out{};
    out.fill(0xaa);
    device_other_band_bssid_get("ath0", out.data(), 6);
    EXPECT_EQ(out, (std::array<uint8_t, 8>{0, 0, 0, 0, 0, 0, 0xaa, 0xaa}));
}

}  // namespace
