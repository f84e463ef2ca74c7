// The root's decisions as functions of values: who counts as present, which APs a starting root
// takes up or down, one line of the approval list.

#include "intf/intf_record.h"
#include "root/ap_list.h"
#include "root/root_intf.h"
#include "topology/admission.h"

#include <gtest/gtest.h>

namespace {

TEST(ApPresence, counts_an_alive_extender_whatever_its_misses) {
    for (const char* const missed : {"0", "2", "3", "99"}) {
        ap_presence presence;
        EXPECT_TRUE(ap_presence_step(presence, "1", missed)) << missed;
    }
}

TEST(ApPresence, keeps_an_extender_for_two_misses_and_drops_it_at_the_third) {
    ap_presence presence;
    EXPECT_TRUE(ap_presence_step(presence, "0", "0"));
    EXPECT_TRUE(ap_presence_step(presence, "0", "1"));
    EXPECT_TRUE(ap_presence_step(presence, "0", "2"));
    EXPECT_FALSE(ap_presence_step(presence, "0", "3"));
    EXPECT_FALSE(ap_presence_step(presence, "0", "4"));
}

TEST(ApPresence, drops_any_other_alive_value_whatever_its_misses) {
    for (const char* const alive : {"2", "-1", "10", "255"}) {
        ap_presence presence;
        EXPECT_FALSE(ap_presence_step(presence, alive, "0")) << alive;
    }
}

TEST(ApPresence, takes_text_without_a_number_as_zero) {
    ap_presence presence;
    presence.alive = 7;
    presence.not_alive = 7;
    EXPECT_TRUE(ap_presence_step(presence, "yes", ""));
    EXPECT_EQ(presence.alive, 0);
    EXPECT_EQ(presence.not_alive, 0);
}

TEST(ApPresence, reads_the_number_in_front_of_other_text) {
    ap_presence presence;
    EXPECT_TRUE(ap_presence_step(presence, " 1x", "3"));
    EXPECT_EQ(presence.alive, 1);
}

TEST(ApPresence, keeps_the_previous_row_for_a_null_column) {
    ap_presence presence;
    EXPECT_TRUE(ap_presence_step(presence, "1", "5"));
    EXPECT_TRUE(ap_presence_step(presence, nullptr, nullptr));
    EXPECT_FALSE(ap_presence_step(presence, "0", nullptr)) << "still five misses";
    EXPECT_TRUE(ap_presence_step(presence, nullptr, "1")) << "still not alive";
}

TEST(ApPresence, counts_a_first_row_of_nulls_as_present) {
    ap_presence presence;
    EXPECT_TRUE(ap_presence_step(presence, nullptr, nullptr));
}

using action = root_intf_action;

TEST(RootInterface, is_enabled_when_independent_whatever_is_approved) {
    for (const int32_t type : {MAIN_SERVICE_AP, GUEST_SERVICE_AP, VISITOR_SERVICE_AP, PRE_DEF_AP}) {
        for (const int approved : {0, 1, 9}) {
            EXPECT_EQ(root_intf_choose(static_cast<intf_type>(type), 0, approved),
                      action::enable_if_configured)
                << type << " " << approved;
        }
    }
}

TEST(RootInterface, is_disabled_when_it_follows_and_a_node_is_approved) {
    for (const int32_t type : {MAIN_SERVICE_AP, GUEST_SERVICE_AP, VISITOR_SERVICE_AP, PRE_DEF_AP}) {
        for (const uint8_t follow : {uint8_t{1}, uint8_t{2}, uint8_t{255}}) {
            EXPECT_EQ(root_intf_choose(static_cast<intf_type>(type), follow, 1), action::disable)
                << type;
            EXPECT_EQ(root_intf_choose(static_cast<intf_type>(type), follow, 3), action::disable)
                << type;
        }
    }
}

TEST(RootInterface, is_enabled_when_it_follows_and_no_node_is_approved) {
    for (const int32_t type : {MAIN_SERVICE_AP, GUEST_SERVICE_AP, VISITOR_SERVICE_AP, PRE_DEF_AP}) {
        EXPECT_EQ(root_intf_choose(static_cast<intf_type>(type), 1, 0),
                  action::enable_if_configured)
            << type;
    }
}

TEST(RootInterface, is_enabled_for_a_backhaul_ap_whatever_else_is_set) {
    for (const uint8_t follow : {uint8_t{0}, uint8_t{1}}) {
        for (const int approved : {0, 1}) {
            EXPECT_EQ(root_intf_choose(BACKHAUL_AP, follow, approved),
                      action::enable_if_configured);
        }
    }
}

TEST(RootInterface, is_left_alone_when_its_type_is_no_access_point) {
    for (const int32_t type : {3, 6, 7, 8, 9, -1}) {
        EXPECT_EQ(root_intf_choose(static_cast<intf_type>(type), 0, 0), action::none) << type;
        EXPECT_EQ(root_intf_choose(static_cast<intf_type>(type), 1, 1), action::none) << type;
    }
}

TEST(AdmissionLine, gives_the_address_and_the_flag) {
    admission_line line;
    admission_line_scan("02:1A:ff:00:07:b0 1 MRX70\n", line);
    EXPECT_EQ(line.mac, (mac_address{0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0}));
    EXPECT_EQ(line.flag, 1);
    admission_line_scan("02:00:00:00:00:02 0 other\n", line);
    EXPECT_EQ(line.flag, 0);
}

TEST(AdmissionLine, needs_no_third_word) {
    admission_line line;
    admission_line_scan("02:00:00:00:00:01 3", line);
    EXPECT_EQ(line.flag, 3);
}

TEST(AdmissionLine, keeps_the_flag_that_does_not_parse) {
    admission_line line;
    admission_line_scan("02:00:00:00:00:01 1 MRX70\n", line);
    admission_line_scan("02:00:00:00:00:02 yes MRX70\n", line);
    EXPECT_EQ(line.mac, (mac_address{2, 0, 0, 0, 0, 2}));
    EXPECT_EQ(line.flag, 1);
    admission_line_scan("02:00:00:00:00:03\n", line);
    EXPECT_EQ(line.mac, (mac_address{2, 0, 0, 0, 0, 3}));
    EXPECT_EQ(line.flag, 1);
}

TEST(AdmissionLine, keeps_everything_for_a_line_without_an_address) {
    admission_line line;
    admission_line_scan("02:00:00:00:00:01 1 MRX70\n", line);
    for (const char* const text : {"", "\n", "# comment\n", " \t\n"}) {
        admission_line_scan(text, line);
        EXPECT_EQ(line.mac, (mac_address{2, 0, 0, 0, 0, 1})) << text;
        EXPECT_EQ(line.flag, 1) << text;
    }
}

TEST(AdmissionLine, keeps_the_bytes_behind_a_broken_one) {
    admission_line line;
    admission_line_scan("02:00:00:00:00:01 1 MRX70\n", line);
    admission_line_scan("04:05:zz:00:00:09 0 MRX70\n", line);
    EXPECT_EQ(line.mac, (mac_address{4, 5, 0, 0, 0, 1}));
    EXPECT_EQ(line.flag, 1);
}

}  // namespace
