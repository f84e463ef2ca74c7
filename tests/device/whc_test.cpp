// Uplink rate, hop distance and the best upstream AP.

#include "device/whc.h"

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Bytes8 = std::array<uint8_t, 8>;
constexpr Bytes8 FILLED = {0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa};

class Whc : public DeviceTest {
protected:
    intf_record* table_add() {
        intf_add("ath20", BACKHAUL_AP, BAND_5G);
        intf_record* const station = intf_add("ath0", BACKHAUL_STA, BAND_5G);
        intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
        intf_add("ath2", BACKHAUL_AP, BAND_24G);
        return station;
    }
};

TEST_F(Whc, passes_the_uplink_rate_on_to_every_backhaul_ap) {
    lab::iwpriv_value_set("", "ath0", "whc_ul_rate", "866");
    device_backhaul_ap_ul_rate_update(table_add());
    EXPECT_THAT(journal(), ElementsAre("$ iwpriv ath0 get_whc_ul_rate > /tmp/ul_rate",
                                       "device_backhaul_ap_ul_rate_update : ul_rate 866",
                                       "$ iwpriv ath20 set_whc_ul_rate 866",
                                       "$ iwpriv ath2 set_whc_ul_rate 866"));
}

TEST_F(Whc, passes_zero_on_when_the_driver_names_no_rate) {
    lab::answer_push("", "iwpriv.ath0.get_whc_ul_rate", "no answer\n");
    device_backhaul_ap_ul_rate_update(table_add());
    EXPECT_THAT(journal(),
                ElementsAre("$ iwpriv ath0 get_whc_ul_rate > /tmp/ul_rate",
                            "device_backhaul_ap_ul_rate_update : ul_rate 0",
                            "$ iwpriv ath20 set_whc_ul_rate 0", "$ iwpriv ath2 set_whc_ul_rate 0"));
}

TEST_F(Whc, reads_the_rate_in_the_first_255_characters_of_the_answer) {
    const intf_record* const station = table_add();
    lab::answer_push("", "iwpriv.ath0.get_whc_ul_rate", std::string(252, 'a') + ":12\n");
    device_backhaul_ap_ul_rate_update(station);
    EXPECT_EQ(journal().back(), "$ iwpriv ath2 set_whc_ul_rate 12");
    lab::answer_push("", "iwpriv.ath0.get_whc_ul_rate", std::string(253, 'a') + ":12\n");
    device_backhaul_ap_ul_rate_update(station);
    EXPECT_EQ(journal().back(), "$ iwpriv ath2 set_whc_ul_rate 1");
}

TEST_F(Whc, passes_no_rate_on_when_the_answer_cannot_be_read) {
    harness::put_file("/tmp/ul_rate/kept", "");
    device_backhaul_ap_ul_rate_update(table_add());
    EXPECT_THAT(journal(), ElementsAre("$ iwpriv ath0 get_whc_ul_rate > /tmp/ul_rate"));
}

TEST_F(Whc, asks_no_rate_of_an_interface_that_is_no_station) {
    table_add();
    device_backhaul_ap_ul_rate_update(intf_add("ath1", GUEST_SERVICE_AP, BAND_24G));
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Whc, sets_the_distance_of_every_backhaul_ap) {
    table_add();
    device_whc_dist_set(0);
    device_whc_dist_set(255);
    EXPECT_THAT(journal(),
                ElementsAre("$ iwpriv ath20 set_whc_dist 0", "$ iwpriv ath2 set_whc_dist 0",
                            "$ iwpriv ath20 set_whc_dist 255", "$ iwpriv ath2 set_whc_dist 255"));
}

TEST_F(Whc, sets_no_negative_distance) {
    table_add();
    device_whc_dist_set(-1);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Whc, sets_the_longest_distance_of_the_longest_name_whole) {
    intf_add("ath012345678901", BACKHAUL_AP, BAND_5G);
    device_whc_dist_set(2147483647);
    EXPECT_THAT(journal(), ElementsAre("$ iwpriv ath012345678901 set_whc_dist 2147483647"));
}

TEST_F(Whc, probes_waits_two_seconds_and_reads_the_best_ap) {
    lab::iwpriv_value_set("", "ath0", "whc_bssid", "02:1a:ff:00:07:b0");
    Bytes8 out = FILLED;
    device_best_bssid_get("ath0", out.data(), 6);
    EXPECT_THAT(journal(), ElementsAre("$ iwpriv ath0 sendprobereq 1",
                                       "$ iwpriv ath0 get_whc_bssid > /tmp/best_bssid"));
    const std::vector<lab::LineRecord> lines = lab::line_records("");
    EXPECT_EQ(lines.at(0).stamp.time, START_TIME);
    EXPECT_EQ(lines.at(1).stamp.time, START_TIME + 2);
    EXPECT_EQ(out, (Bytes8{0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0, 0xaa, 0xaa}));
}

TEST_F(Whc, reads_zeros_when_the_driver_prefers_no_ap) {
    Bytes8 out = FILLED;
    device_best_bssid_get("ath0", out.data(), 6);
    EXPECT_EQ(out, (Bytes8{0, 0, 0, 0, 0, 0, 0xaa, 0xaa}));
}

TEST_F(Whc, reads_zeros_when_the_answer_cannot_be_read) {
    lab::iwpriv_value_set("", "ath0", "whc_bssid", "02:1a:ff:00:07:b0");
    harness::put_file("/tmp/best_bssid/kept", "");
    Bytes8 out = FILLED;
    device_best_bssid_get("ath0", out.data(), 6);
    EXPECT_EQ(out, (Bytes8{0, 0, 0, 0, 0, 0, 0xaa, 0xaa}));
}

TEST_F(Whc, reads_only_the_first_line_of_the_answer) {
    lab::answer_push("", "iwpriv.ath0.get_whc_bssid", "\nath0:021aff0007b0\n");
    Bytes8 out = FILLED;
    device_best_bssid_get("ath0", out.data(), 6);
    EXPECT_EQ(out, (Bytes8{0, 0, 0, 0, 0, 0, 0xaa, 0xaa}));
}

TEST_F(Whc, copies_as_many_bytes_as_are_asked_for) {
    lab::iwpriv_value_set("", "ath0", "whc_bssid", "02:1a:ff:00:07:b0");
    Bytes8 out = FILLED;
    device_best_bssid_get("ath0", out.data(), 2);
    EXPECT_EQ(out, (Bytes8{0x02, 0x1a, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa, 0xaa}));
    device_best_bssid_get("ath0", out.data(), 8);
    EXPECT_EQ(out, (Bytes8{0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0, 0, 0}));
}

TEST_F(Whc, makes_the_supplicant_join_the_current_ap_when_none_is_configured) {
    intf_record* const station = table_add();
    station->bssid.set({0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0});
    device_config_best_ap(station);
    EXPECT_THAT(
        journal(),
        ElementsAre(
            "$ wpa_cli -p /var/run/wpa_supplicant-ath0 disable_network 0",
            "device_config_best_ap : config best bssid 02:1a:ff:00:07:b0",
            "$ wpa_cli -p /var/run/wpa_supplicant-ath0 set_network 0 bssid 02:1a:ff:00:07:b0",
            "$ wpa_cli -p /var/run/wpa_supplicant-ath0 enable_network 0"));
}

TEST_F(Whc, makes_the_supplicant_join_the_configured_ap) {
    intf_record* const station = table_add();
    station->bssid.set({2, 0, 0, 0, 0, 1});
    station->configured_bssid.set({2, 0, 0, 0, 0, 0x2f});
    device_config_best_ap(station);
    EXPECT_THAT(
        journal(),
        ElementsAre(
            "$ wpa_cli -p /var/run/wpa_supplicant-ath0 disable_network 0",
            "device_config_best_ap : config best bssid 02:00:00:00:00:2f",
            "$ wpa_cli -p /var/run/wpa_supplicant-ath0 set_network 0 bssid 02:00:00:00:00:2f",
            "$ wpa_cli -p /var/run/wpa_supplicant-ath0 enable_network 0"));
}

TEST_F(Whc, tells_the_supplicant_nothing_while_the_station_has_no_ap) {
    intf_record* const station = table_add();
    device_config_best_ap(station);
    station->configured_bssid.set({2, 0, 0, 0, 0, 2});
    device_config_best_ap(station);
    EXPECT_THAT(journal(), IsEmpty());
}

}  // namespace
