// Keeping the service APs up and in step.

#include "device/ap_alive.h"
#include "device/ap_settings_reload.h"
#include "device/association.h"
#include "device/hyd.h"

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <ostream>
#include <span>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ApPolicy : public DeviceTest {
protected:
    void whole_table_add() {
        intf_add("ath0", BACKHAUL_STA, BAND_5G);
        intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
        intf_add("ath20", BACKHAUL_AP, BAND_5G);
        intf_add("ath1", GUEST_SERVICE_AP, BAND_24G);
        intf_add("ath7", PRE_DEF_AP, BAND_5G);
        intf_add("eth", ETHERNET, BAND_NONE);
        intf_add("ath14", VISITOR_SERVICE_AP, BAND_5G_HIGH);
    }
    void bss_down(const char* name) {
        lab::wifi_mode_set("", name, "Master");
        lab::wifi_bss_up_set("", name, false);
    }
};

TEST_F(ApPolicy, reloads_every_service_ap_between_the_stop_and_the_restart_of_hyd) {
    whole_table_add();
    device_reload_ap_settings();
    EXPECT_THAT(
        journal(),
        ElementsAre("device_reload_ap_settings : Enter", "$ uci set hyd.config.Enable=0",
                    "$ /etc/init.d/hyd stop", "device_reload_ap_settings : reload ath10", APPLY,
                    "dev_intf_enable_set : disable ath20", "$ uci set wireless.ath20.disabled=1",
                    COMMIT, APPLY, "device_reload_ap_settings : reload ath1", APPLY,
                    "device_reload_ap_settings : reload ath14", APPLY,
                    "$ uci set hyd.config.Enable=1", "$ uci commit hyd",
                    "$ /etc/init.d/hyd restart", "device_reload_ap_settings : Leave 0.000000",
                    "$ wifi_channel_monitor once"));
}

TEST_F(ApPolicy, enables_backhaul_aps_at_a_reload_with_option_d) {
    runtime.backhaul_ap_enable = 1;
    intf_add("ath20", BACKHAUL_AP, BAND_5G);
    device_reload_ap_settings();
    EXPECT_THAT(
        journal(),
        ElementsAre("device_reload_ap_settings : Enter", "$ uci set hyd.config.Enable=0",
                    "$ /etc/init.d/hyd stop", "dev_intf_enable_set : enable ath20",
                    "$ uci set wireless.ath20.disabled=0", COMMIT, APPLY,
                    "$ uci set hyd.config.Enable=1", "$ uci commit hyd",
                    "$ /etc/init.d/hyd restart", "device_reload_ap_settings : Leave 0.000000",
                    "$ wifi_channel_monitor once"));
}

TEST_F(ApPolicy, clears_the_radar_count_of_every_interface_at_a_reload) {
    whole_table_add();
    const std::span<intf_record> table(runtime.intf_table.load(),
                                       static_cast<size_t>(runtime.intf_num.load()));
    for (intf_record& record : table) {
        record.dfs_count = 3;
        record.state = CONNECTING_TARGET_BACKHAUL_AP;
    }
    device_reload_ap_settings();
    for (const intf_record& record : table) {
        EXPECT_EQ(int{record.dfs_count.get()}, 0) << record.name.data();
        EXPECT_EQ(record.state.get(), 5) << record.name.data();
    }
}

TEST_F(ApPolicy, logs_how_many_seconds_the_reload_took) {
    harness::clock_start(START_TIME, lab::CLOCK_HELD);
    lab::answer_hold("", "hyd.stop", "slow");
    std::thread reload(device_reload_ap_settings);
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 2; }))
        << harness::recorded_calls().size() << " calls";
    harness::clock_start(START_TIME + 7, lab::CLOCK_HELD);
    lab::gate_open("", "slow");
    reload.join();
    const auto lines = harness::flow_log_lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "device_reload_ap_settings : Leave 7.000000");
}

TEST_F(ApPolicy, applies_each_service_ap_that_is_not_alive) {
    whole_table_add();
    for (const char* const name : {"ath10", "ath20", "ath1", "ath14"}) {
        bss_down(name);
    }
    ap_alive_chk(backhaul_ap_check::with_option_d);
    EXPECT_THAT(
        journal(),
        ElementsAre("$ uci get wireless.ath10.disabled", "$ iwconfig ath10 | grep Not-Associated",
                    "ap_alive_chk(not alive) : reload ath10", APPLY,
                    "$ uci get wireless.ath1.disabled", "$ iwconfig ath1 | grep Not-Associated",
                    "ap_alive_chk(not alive) : reload ath1", APPLY,
                    "$ uci get wireless.ath14.disabled", "$ iwconfig ath14 | grep Not-Associated",
                    "ap_alive_chk(not alive) : reload ath14", APPLY));
}

TEST_F(ApPolicy, checks_backhaul_aps_too_when_forced) {
    intf_add("ath20", BACKHAUL_AP, BAND_5G);
    bss_down("ath20");
    ap_alive_chk(backhaul_ap_check::always);
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath20.disabled",
                                       "$ iwconfig ath20 | grep Not-Associated",
                                       "ap_alive_chk(not alive) : reload ath20", APPLY));
}

TEST_F(ApPolicy, checks_backhaul_aps_too_with_option_d) {
    runtime.backhaul_ap_enable = 1;
    intf_add("ath20", BACKHAUL_AP, BAND_5G);
    bss_down("ath20");
    ap_alive_chk(backhaul_ap_check::with_option_d);
    EXPECT_EQ(harness::flow_log_lines(),
              std::vector<std::string>{"ap_alive_chk(not alive) : reload ath20"});
}

TEST_F(ApPolicy, leaves_backhaul_aps_alone_when_neither_forced_nor_optioned) {
    intf_add("ath20", BACKHAUL_AP, BAND_5G);
    bss_down("ath20");
    ap_alive_chk(backhaul_ap_check::with_option_d);
    ap_alive_chk(static_cast<backhaul_ap_check>(2));
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ApPolicy, applies_nothing_while_every_ap_is_alive) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    lab::wifi_mode_set("", "ath10", "Master");
    ap_alive_chk(backhaul_ap_check::with_option_d);
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath10.disabled",
                                       "$ iwconfig ath10 | grep Not-Associated"));
}

TEST_F(ApPolicy, never_applies_an_ap_that_is_disabled_on_purpose) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    bss_down("ath10");
    uci_put("ath10.disabled", "1");
    ap_alive_chk(backhaul_ap_check::always);
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath10.disabled"));
}

TEST_F(ApPolicy, applies_an_ap_that_stays_dead_again_at_each_check) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    harness::Journal expected;
    for (int check = 0; check < 3; ++check) {
        // The restart before did not help.
        bss_down("ath10");
        ap_alive_chk(check == 1 ? backhaul_ap_check::always : backhaul_ap_check::with_option_d);
        expected.insert(expected.end(), {"$ uci get wireless.ath10.disabled",
                                         "$ iwconfig ath10 | grep Not-Associated",
                                         "ap_alive_chk(not alive) : reload ath10", APPLY});
        EXPECT_EQ(journal(), expected);
    }
}

TEST_F(ApPolicy, looks_at_the_radio_and_the_association_of_an_ap_whose_disabled_is_empty) {
    const intf_record* const ap = intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    bss_down("ath10");
    ASSERT_EQ(uci_value("ath10.disabled"), "");
    harness::put_file("/tmp/wifi5G_Status", "isSetting\n");
    EXPECT_EQ(ap_intf_alive(ap), 1);
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath10.disabled"));
    harness::put_file("/tmp/wifi5G_Status", "done\n");
    EXPECT_EQ(ap_intf_alive(ap), 0);
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath10.disabled",
                                       "$ uci get wireless.ath10.disabled",
                                       "$ iwconfig ath10 | grep Not-Associated"));
}

struct Status {
    uint8_t band;
    const char* path;
};

void PrintTo(const Status& status, std::ostream* out) {
    *out << "band " << int{status.band};
}

class ApStatus : public ApPolicy, public testing::WithParamInterface<Status> {};

TEST_P(ApStatus, counts_an_ap_as_alive_while_its_radio_is_being_set) {
    const intf_record* const ap = intf_add("ath10", MAIN_SERVICE_AP, GetParam().band);
    bss_down("ath10");
    for (const char* const text : {"isSetting\n", " \n  wifi-isSetting-now more", "isSetting"}) {
        harness::put_file(GetParam().path, text);
        EXPECT_EQ(ap_intf_alive(ap), 1) << text;
    }
    EXPECT_THAT(harness::recorded_lines(), testing::Each("uci get wireless.ath10.disabled"));
}

TEST_P(ApStatus, asks_for_the_association_when_the_radio_is_not_being_set) {
    const intf_record* const ap = intf_add("ath10", MAIN_SERVICE_AP, GetParam().band);
    bss_down("ath10");
    for (const char* const text : {"done\n", "", "done isSetting\n", "issetting\n"}) {
        harness::put_file(GetParam().path, text);
        EXPECT_EQ(ap_intf_alive(ap), 0) << text;
    }
    lab::wifi_bss_up_set("", "ath10", true);
    EXPECT_EQ(ap_intf_alive(ap), 1);
}

INSTANTIATE_TEST_SUITE_P(Bands, ApStatus,
                         testing::Values(Status{1, "/tmp/wifi24G_Status"},
                                         Status{2, "/tmp/wifi5G_Status"},
                                         Status{8, "/tmp/wifi5G_Status"},
                                         Status{4, "/tmp/wifi5G_2_Status"}));

TEST_F(ApPolicy, asks_for_the_association_in_a_band_without_a_status_file) {
    for (const char* const path :
         {"/tmp/wifi24G_Status", "/tmp/wifi5G_Status", "/tmp/wifi5G_2_Status"}) {
        harness::put_file(path, "isSetting\n");
    }
    bss_down("ath10");
    EXPECT_EQ(ap_intf_alive(intf_add("ath10", MAIN_SERVICE_AP, BAND_NONE)), 0);
}

TEST_F(ApPolicy, looks_only_at_the_first_127_characters_of_a_status) {
    const intf_record* const ap = intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    bss_down("ath10");
    harness::put_file("/tmp/wifi24G_Status", std::string(118, 'x') + "isSetting");
    EXPECT_EQ(ap_intf_alive(ap), 1);
    harness::put_file("/tmp/wifi24G_Status", std::string(119, 'x') + "isSetting");
    EXPECT_EQ(ap_intf_alive(ap), 0);
}

TEST_F(ApPolicy, is_associated_unless_iwconfig_says_otherwise) {
    lab::wifi_mode_set("", "ath0", "Managed");
    EXPECT_EQ(intf_associated("ath0"), 0);
    lab::wifi_associated_set("", "ath0", "02:00:00:00:00:01");
    EXPECT_EQ(intf_associated("ath0"), 1);
    lab::wifi_missing_set("", "ath0");
    EXPECT_EQ(intf_associated("ath0"), 1);
    EXPECT_THAT(journal(), testing::Each("$ iwconfig ath0 | grep Not-Associated"));
}

TEST_F(ApPolicy, is_associated_when_there_is_no_pipe_to_ask_through) {
    lab::wifi_mode_set("", "ath0", "Managed");
    {
        const harness::DescriptorsRefused refused;
        EXPECT_EQ(intf_associated("ath0"), 1);
    }
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ApPolicy, leaves_hyd_alone_while_it_runs) {
    lab::hyd_running_set("", true);
    hyd_alive_check();
    EXPECT_THAT(journal(), ElementsAre("$ ps | grep hyd | grep -v grep > /tmp/hyd_alive"));
}

TEST_F(ApPolicy, restarts_hyd_without_a_commit_when_it_does_not_run) {
    hyd_alive_check();
    EXPECT_THAT(journal(),
                ElementsAre("$ ps | grep hyd | grep -v grep > /tmp/hyd_alive", "restart hyd",
                            "$ uci set hyd.config.Enable=1", "$ /etc/init.d/hyd restart"));
    EXPECT_TRUE(lab::hyd_is_running(""));
}

TEST_F(ApPolicy, restarts_hyd_again_at_each_check_that_finds_none) {
    lab::answer_always("", "ps", "  PID USER\n");
    hyd_alive_check();
    hyd_alive_check();
    EXPECT_EQ(harness::flow_log_lines(), (std::vector<std::string>{"restart hyd", "restart hyd"}));
}

TEST_F(ApPolicy, restarts_hyd_when_its_line_has_no_process_id) {
    lab::answer_always("", "ps", "hyd is gone\n");
    hyd_alive_check();
    EXPECT_EQ(harness::flow_log_lines(), std::vector<std::string>{"restart hyd"});
}

TEST_F(ApPolicy, restarts_hyd_when_its_process_id_is_zero) {
    lab::answer_always("", "ps", "0 root hyd\n");
    hyd_alive_check();
    EXPECT_EQ(harness::flow_log_lines(), std::vector<std::string>{"restart hyd"});
}

TEST_F(ApPolicy, leaves_hyd_alone_when_the_process_list_cannot_be_read) {
    harness::put_file("/tmp/hyd_alive/kept", "");
    hyd_alive_check();
    EXPECT_EQ(journal().size(), 1U);
}

}  // namespace
