// Switching all service APs.

#include "device/service_ap.h"

#include "lab/tools/state_layout.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>

namespace {

using testing::ElementsAre;

class ServiceAp : public DeviceTest {};

TEST_F(ServiceAp, switches_service_aps_in_table_order_and_no_predefined_ap) {
    intf_add("ath0", BACKHAUL_STA, BAND_5G);
    for (const auto& [name, type] : {std::pair{"ath10", MAIN_SERVICE_AP},
                                     {"ath11", GUEST_SERVICE_AP},
                                     {"ath14", VISITOR_SERVICE_AP},
                                     {"ath20", BACKHAUL_AP},
                                     {"ath2", PRE_DEF_AP}}) {
        intf_add(name, type, BAND_5G);
        uci_put(std::string(name) + ".disabled", "0");
        ASSERT_TRUE(lab::wifi_mode_set("", name, "Master"));
    }
    service_ap_enable_all(INTF_ENABLE);
    EXPECT_THAT(
        journal_take(),
        ElementsAre("dev_intf_enable_set : enable ath10", "$ uci get wireless.ath10.disabled",
                    "$ /etc/init.d/wireless restart", "dev_intf_enable_set : enable ath11",
                    "$ uci get wireless.ath11.disabled", "$ /etc/init.d/wireless restart",
                    "dev_intf_enable_set : enable ath14", "$ uci get wireless.ath14.disabled",
                    "$ /etc/init.d/wireless restart"));
}

}  // namespace
