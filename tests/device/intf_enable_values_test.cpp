// Which interface a service AP follows.

#include "device/intf_enable.h"

#include <gtest/gtest.h>

namespace {

TEST(ReferenceIntf, names_the_primary_of_each_service_ap_type) {
    EXPECT_STREQ(reference_intf_name(MAIN_SERVICE_AP), "ath10");
    EXPECT_STREQ(reference_intf_name(GUEST_SERVICE_AP), "ath11");
    EXPECT_STREQ(reference_intf_name(VISITOR_SERVICE_AP), "ath14");
}

TEST(ReferenceIntf, is_none_for_every_other_type) {
    for (const int32_t type : {3, 4, 5, 6, 7, 8, 9, -1}) {
        EXPECT_EQ(reference_intf_name(static_cast<intf_type>(type)), nullptr) << type;
    }
}

}  // namespace
