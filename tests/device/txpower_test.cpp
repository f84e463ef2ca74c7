// Transmit power of the 2.4 GHz radio.

#include "device/txpower.h"

#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;

constexpr char POWER_PATH[] = "/tmp/dynamic_24g_txpower";

class TxPower : public DeviceTest {};

TEST_F(TxPower, sets_the_threshold_of_the_first_radio_then_of_the_second) {
    device_cca_threshold_set(-65);
    EXPECT_THAT(journal(), ElementsAre("$ iwpriv wifi0 cca_threshold -65",
                                       "$ iwpriv wifi1 cca_threshold -65"));
}

TEST_F(TxPower, decreases_the_power_then_lowers_the_threshold) {
    device_24g_txpower_decrease();
    EXPECT_THAT(journal(),
                ElementsAre("device_24g_txpower_decrease : decrease WiFi 2.4G Tx power",
                            "$ iwconfig ath0 txpower 23", "$ iwpriv wifi0 cca_threshold -65",
                            "$ iwpriv wifi1 cca_threshold -65"));
    EXPECT_EQ(harness::file_text(POWER_PATH), "23\n");
}

TEST_F(TxPower, lowers_the_threshold_although_the_power_file_cannot_be_written) {
    ASSERT_EQ(mkdir(POWER_PATH, 0700), 0);
    device_24g_txpower_decrease();
    EXPECT_THAT(journal(), ElementsAre(testing::_, "$ iwconfig ath0 txpower 23",
                                       "$ iwpriv wifi0 cca_threshold -65",
                                       "$ iwpriv wifi1 cca_threshold -65"));
}

TEST_F(TxPower, recovers_the_power_and_forgets_the_reduced_one) {
    harness::put_file(POWER_PATH, "23\n");
    device_24g_txpower_recover();
    EXPECT_THAT(journal(),
                ElementsAre("device_24g_txpower_recover : recover WiFi 2.4G Tx power",
                            "$ iwconfig ath0 txpower auto", "$ iwpriv wifi0 cca_threshold -75",
                            "$ iwpriv wifi1 cca_threshold -75"));
    EXPECT_FALSE(harness::file_is_there(POWER_PATH));
}

}  // namespace
