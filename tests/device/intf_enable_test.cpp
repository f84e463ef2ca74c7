// Enabling and disabling access points.

#include "device/intf_enable.h"
#include "device/service_ap.h"

#include "runtime/runtime_block.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>

#include <ostream>
namespace {

using testing::ElementsAre;

class IntfEnable : public DeviceTest {
protected:
    static std::array<int, 3> enabled_flags() {
        return {int{runtime.service_ap_enabled[0].get()}, int{runtime.service_ap_enabled[1].get()},
                int{runtime.service_ap_enabled[2].get()}};
    }
};

TEST_F(IntfEnable, enables_and_applies_a_backhaul_ap_whatever_the_configuration_says) {
    uci_put("ath20.disabled", "1");
    dev_intf_enable_set(intf_add("ath20", BACKHAUL_AP, BAND_5G, 1),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath20",
                                       "$ uci set wireless.ath20.disabled=0", COMMIT, APPLY));
    EXPECT_EQ(uci_value("ath20.disabled"), "0");
}

TEST_F(IntfEnable, disables_and_applies_a_backhaul_ap_although_it_is_disabled) {
    uci_put("ath20.disabled", "1");
    dev_intf_enable_set(intf_add("ath20", BACKHAUL_AP, BAND_5G),
                        static_cast<intf_switch>(INTF_DISABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : disable ath20",
                                       "$ uci set wireless.ath20.disabled=1", COMMIT, APPLY));
}

TEST_F(IntfEnable, applies_an_independent_service_ap_that_is_not_disabled) {
    uci_put("ath1.disabled", "0");
    dev_intf_enable_set(intf_add("ath1", GUEST_SERVICE_AP, BAND_24G),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath1",
                                       "$ uci get wireless.ath1.disabled", APPLY));
    EXPECT_EQ(enabled_flags(), (std::array<int, 3>{0, 0, 0}));
}

TEST_F(IntfEnable, leaves_an_independent_service_ap_alone_that_is_disabled) {
    uci_put("ath1.disabled", "1");
    dev_intf_enable_set(intf_add("ath1", GUEST_SERVICE_AP, BAND_24G),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath1",
                                       "$ uci get wireless.ath1.disabled"));
    EXPECT_EQ(uci_value("ath1.disabled"), "1");
}

TEST_F(IntfEnable, leaves_an_independent_service_ap_alone_without_the_option) {
    dev_intf_enable_set(intf_add("ath1", GUEST_SERVICE_AP, BAND_24G),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath1",
                                       "$ uci get wireless.ath1.disabled"));
}

struct Reference {
    int32_t type;
    const char* name;
    std::array<int, 3> flags;
};

void PrintTo(const Reference& reference, std::ostream* out) {
    *out << "type " << reference.type;
}

const std::array<Reference, 3> REFERENCES = {{
    {MAIN_SERVICE_AP, "ath10", {1, 0, 0}},
    {GUEST_SERVICE_AP, "ath11", {0, 1, 0}},
    {VISITOR_SERVICE_AP, "ath14", {0, 0, 1}},
}};

class IntfFollow : public IntfEnable, public testing::WithParamInterface<Reference> {};

TEST_P(IntfFollow, copies_an_enabled_primary_notes_it_and_applies) {
    const Reference& reference = GetParam();
    const std::string name = reference.name;
    uci_put(name + ".disabled", "0");
    uci_put("ath5.disabled", "1");
    dev_intf_enable_set(intf_add("ath5", reference.type, BAND_24G, 1),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath5",
                                       "$ uci get wireless." + name + ".disabled",
                                       "$ uci set wireless.ath5.disabled=0", COMMIT, APPLY));
    EXPECT_EQ(enabled_flags(), reference.flags);
}

TEST_P(IntfFollow, copies_a_disabled_primary_notes_it_and_does_not_apply) {
    const Reference& reference = GetParam();
    const std::string name = reference.name;
    uci_put(name + ".disabled", "1");
    uci_put("ath5.disabled", "0");
    for (Relaxed<bool>& enabled : runtime.service_ap_enabled) {
        enabled = 1;
    }
    dev_intf_enable_set(intf_add("ath5", reference.type, BAND_24G, 7),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath5",
                                       "$ uci get wireless." + name + ".disabled",
                                       "$ uci set wireless.ath5.disabled=1", COMMIT));
    EXPECT_EQ(uci_value("ath5.disabled"), "1");
    const std::array<int, 3> others = {1 - reference.flags[0], 1 - reference.flags[1],
                                       1 - reference.flags[2]};
    EXPECT_EQ(enabled_flags(), others);
}

INSTANTIATE_TEST_SUITE_P(Types, IntfFollow, testing::ValuesIn(REFERENCES));

TEST_F(IntfEnable, copies_the_empty_value_of_a_primary_that_is_not_configured) {
    runtime.service_ap_enabled[0] = 1;
    dev_intf_enable_set(intf_add("ath0", MAIN_SERVICE_AP, BAND_24G, 1),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath0",
                                       "$ uci get wireless.ath10.disabled",
                                       "$ uci set wireless.ath0.disabled=", COMMIT));
    EXPECT_EQ(enabled_flags(), (std::array<int, 3>{0, 0, 0}));
}

TEST_F(IntfEnable, copies_at_most_seven_characters) {
    uci_put("ath10.disabled", "0000000000");
    dev_intf_enable_set(intf_add("ath0", MAIN_SERVICE_AP, BAND_24G, 1),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_EQ(journal().at(2), "$ uci set wireless.ath0.disabled=0000000");
    EXPECT_EQ(journal().size(), 4U);
}

TEST_F(IntfEnable, reads_nothing_for_another_type_that_follows) {
    for (const int32_t type : {PRE_DEF_AP, ETHERNET, AP_TIMER_INTF, INTF_TYPE_OTHER}) {
        harness::take_lines();
        dev_intf_enable_set(intf_add("ath7", type, BAND_24G, 1),
                            static_cast<intf_switch>(INTF_ENABLE));
        EXPECT_THAT(harness::take_lines(), testing::IsEmpty()) << type;
    }
    EXPECT_THAT(harness::flow_log_lines(), testing::Each("dev_intf_enable_set : enable ath7"));
    EXPECT_EQ(enabled_flags(), (std::array<int, 3>{0, 0, 0}));
}

TEST_F(IntfEnable, honours_the_own_option_of_another_type_that_does_not_follow) {
    uci_put("ath7.disabled", "0");
    dev_intf_enable_set(intf_add("ath7", AP_TIMER_INTF, BAND_24G),
                        static_cast<intf_switch>(INTF_ENABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : enable ath7",
                                       "$ uci get wireless.ath7.disabled", APPLY));
}

TEST_F(IntfEnable, disables_and_applies_a_service_ap_that_is_enabled) {
    uci_put("ath0.disabled", "0");
    dev_intf_enable_set(intf_add("ath0", MAIN_SERVICE_AP, BAND_24G, 1),
                        static_cast<intf_switch>(INTF_DISABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : disable ath0",
                                       "$ uci get wireless.ath0.disabled",
                                       "$ uci set wireless.ath0.disabled=1", COMMIT, APPLY));
    EXPECT_EQ(uci_value("ath0.disabled"), "1");
}

TEST_F(IntfEnable, does_not_apply_a_service_ap_that_is_disabled_already) {
    uci_put("ath0.disabled", "1");
    dev_intf_enable_set(intf_add("ath0", MAIN_SERVICE_AP, BAND_24G),
                        static_cast<intf_switch>(INTF_DISABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : disable ath0",
                                       "$ uci get wireless.ath0.disabled"));
}

TEST_F(IntfEnable, does_not_disable_a_service_ap_without_the_option) {
    dev_intf_enable_set(intf_add("ath0", MAIN_SERVICE_AP, BAND_24G),
                        static_cast<intf_switch>(INTF_DISABLE));
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : disable ath0",
                                       "$ uci get wireless.ath0.disabled"));
    EXPECT_EQ(uci_value("ath0.disabled"), "");
}

TEST_F(IntfEnable, marks_every_ap_disabled_in_table_order_and_applies_nothing) {
    intf_add("ath20", BACKHAUL_AP, BAND_5G);
    intf_add("ath0", BACKHAUL_STA, BAND_5G);
    intf_add("ath14", VISITOR_SERVICE_AP, BAND_5G);
    intf_add("ath7", PRE_DEF_AP, BAND_5G);
    intf_add("ath10", MAIN_SERVICE_AP, BAND_NONE);
    intf_add("eth", ETHERNET, BAND_NONE);
    intf_add("ath8", AP_TIMER_INTF, BAND_5G);
    intf_add("ath9", INTF_TYPE_OTHER, BAND_5G);
    intf_add("ath1", GUEST_SERVICE_AP, BAND_24G);
    device_ap_intf_uci_disable_all();
    EXPECT_THAT(journal(), ElementsAre("$ uci set wireless.ath20.disabled=1", COMMIT,
                                       "$ uci set wireless.ath14.disabled=1", COMMIT,
                                       "$ uci set wireless.ath10.disabled=1", COMMIT,
                                       "$ uci set wireless.ath1.disabled=1", COMMIT));
}

}  // namespace
