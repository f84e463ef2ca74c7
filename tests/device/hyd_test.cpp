// Broadcasts through hyd.

#include "device/hyd.h"

#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using harness::bcast;
using harness::joined;

class Hyd : public DeviceTest {};

TEST_F(Hyd, tells_hyd_of_the_given_station_alone) {
    const intf_record* const ath0 = intf_add("ath0", BACKHAUL_STA, BAND_5G);
    const intf_record* const namesake = intf_add("ath0", BACKHAUL_STA, BAND_24G);
    hyd_bcast_reset(namesake, INTF_ENABLE);
    hyd_bcast_reset(ath0, INTF_DISABLE);
    EXPECT_THAT(journal_take(),
                ElementsAreArray(joined({bcast("ath0", "enable"), bcast("ath0", "disable")})));
}

TEST_F(Hyd, tells_hyd_nothing_about_a_record_that_is_no_station) {
    hyd_bcast_reset(intf_add("eth", ETHERNET, BAND_NONE), INTF_ENABLE);
    hyd_bcast_reset(intf_add("ath20", BACKHAUL_AP, BAND_5G), INTF_DISABLE);
    EXPECT_THAT(journal_take(), IsEmpty());
}

TEST_F(Hyd, runs_whole_lines_for_an_interface_name_of_15_characters) {
    const intf_record* const record = intf_add("a-name-of-15-ch", BACKHAUL_STA, BAND_5G);
    hyd_bcast_reset(record, INTF_ENABLE);
    hyd_bcast_reset(record, INTF_DISABLE);
    EXPECT_THAT(harness::recorded_lines(),
                ElementsAre("hyctl setifbcast br-lan a-name-of-15-ch enable",
                            "hyctl setifbcast br-lan a-name-of-15-ch disable"));
}

}  // namespace
