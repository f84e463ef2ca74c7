// From a log to the inputs that it shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/lab_replay/log_of.h"

namespace {

using harness::log_of;
using lab::InputKind;
using lab::ReplayInput;
using lab::ReplayLog;

constexpr char START[] = "1 <-- backhaul_monitor start -->";
constexpr char EXTENDER[] = "1 loop_slave_handle : Enter";

std::vector<InputKind> kinds_of(const ReplayLog& log) {
    std::vector<InputKind> kinds;
    for (const auto& line : log.lines) {
        if (line.input.kind != InputKind::none) {
            kinds.push_back(line.input.kind);
        }
    }
    return kinds;
}

TEST(ReplayInputs, an_association_takes_its_station_from_the_event_that_follows) {
    const ReplayLog log =
        log_of({START, "12 STA_CONNECTION_UP", "12 Connect with : 02:00:00:00:01:04",
                "12 wifi_slave_event_process : ifname ath1 event 1"});
    const ReplayInput& input = log.lines[1].input;
    EXPECT_EQ(input.kind, InputKind::station_joined);
    EXPECT_EQ(input.interface, "ath1");
    EXPECT_EQ(input.text, "02:00:00:00:01:04");
    EXPECT_EQ(log.lines[2].input, ReplayInput());
}

TEST(ReplayInputs, a_loss_that_is_ignored_takes_its_station_from_the_address) {
    const ReplayLog log =
        log_of({START, "12 STA_CONNECTION_UP", "12 Connect with : 02:00:00:00:01:04",
                "12 wifi_slave_event_process : ifname ath1 event 1", "90 STA_CONNECTION_DOWN",
                "90 Disconnect with : 02:00:00:00:01:04",
                "90 wireless_event_process : Under CONNECTING_TARGET_BACKHAUL_AP, ignore "
                "AP_DISASSOC",
                "90 wifi_slave_event_process : ifname ath0 event 2"});
    EXPECT_EQ(log.lines[4].input.kind, InputKind::station_lost);
    EXPECT_EQ(log.lines[4].input.interface, "ath1");
}

TEST(ReplayInputs, a_start_behind_the_end_of_a_worker_is_no_input) {
    const ReplayLog log =
        log_of({START, "9 abnormal termination : 11", "10 <-- backhaul_monitor start -->",
                "400 <-- backhaul_monitor start -->"});
    EXPECT_THAT(kinds_of(log),
                testing::ElementsAre(InputKind::power, InputKind::worker_killed, InputKind::power));
    EXPECT_EQ(log.lines[1].input.number, 11);
}

TEST(ReplayInputs, an_end_before_another_role_is_a_command) {
    const ReplayLog log =
        log_of({START, EXTENDER, "9 normal termination : 1", "10 <-- backhaul_monitor start -->",
                "20 normal termination : 1", "21 <-- backhaul_monitor start -->",
                "21 loop_slave_handle : Enter"});
    EXPECT_EQ(log.lines[2].input.word, "master");
    EXPECT_EQ(log.lines[4].input.word, "slave");
}

TEST(ReplayInputs, an_end_before_the_same_role_comes_by_itself) {
    const ReplayLog log =
        log_of({START, EXTENDER, "9 normal termination : 1", "10 <-- backhaul_monitor start -->",
                "10 loop_slave_handle : Enter"});
    EXPECT_EQ(log.lines[2].input.kind, InputKind::none);
}

TEST(ReplayInputs, scans_are_asked_for_by_a_command_where_no_message_asks) {
    const ReplayLog log = log_of(
        {START, "30 backhaul_notification_recv : recv UPLINKSCAN from 192.168.1.3",
         "30 backhaul_slave_backhaul_restore : Enter", "40 backhaul_slave_backhaul_restore : Enter",
         "40 backhaul_slave_backhaul_restore : best backhaul reconncet"});
    EXPECT_EQ(log.lines[1].input.word, "UPLINKSCAN");
    EXPECT_EQ(log.lines[1].input.text, "192.168.1.3");
    EXPECT_EQ(log.lines[2].input.kind, InputKind::none);
    EXPECT_EQ(log.lines[3].input.kind, InputKind::command);
    EXPECT_EQ(log.lines[3].input.word, "uplink_scan");
    EXPECT_EQ(log.lines[4].input.kind, InputKind::none);
}

TEST(ReplayInputs, the_approval_list_is_looked_at_again_after_a_command) {
    constexpr char LOOK[] = "61 device_ap_steering_workaround : Enter";
    constexpr char NOT_READY[] = "91 device_approval_list_check : approval list not ready";
    const ReplayLog log = log_of({START, LOOK, NOT_READY, NOT_READY, LOOK, LOOK,
                                  "99 <-- backhaul_monitor start -->", NOT_READY, LOOK});
    std::vector<std::size_t> asked;
    for (std::size_t at = 0; at < log.lines.size(); ++at) {
        if (log.lines[at].input.word == "approval_list_changed") {
            asked.push_back(at);
        }
    }
    EXPECT_THAT(asked, testing::ElementsAre(2, 5));
}

TEST(ReplayInputs, a_channel_is_that_of_the_check_that_follows) {
    const ReplayLog log =
        log_of({START, "30 CHANNEL_CHANGE(ath20)", "30 dev_intf_enable_set : enable ath2",
                "30 backhaul_dfs_check : intf->channel 0 channel 116"});
    EXPECT_EQ(log.lines[1].input.kind, InputKind::channel);
    EXPECT_EQ(log.lines[1].input.number, 116);
}

TEST(ReplaySetup, holds_the_interfaces_options_and_names_that_are_seen) {
    const ReplayLog log =
        log_of({START, EXTENDER, "1 dev_intf_enable_set : disable ath20",
                "1 dev_intf_enable_set : disable ath10",
                "11 wifi_slave_event_process : ifname ath0 event 0",
                "11 device_sta_intf_ssid_set : iwconfig ath0 essid of a house",
                "50 backhaul_disconnected(ath0) : sta_intf->disconnect_count 2",
                "50 backhaul_intf_state_change : change ath0 state from 7 to 6",
                "60 backhaul_notification_recv : recv CHECK_VALID_REPLY from 192.168.1.20"});
    const lab::ReplaySetup setup = lab::replay_setup(log);
    std::vector<std::string> names;
    for (const auto& interface : setup.node.interfaces) {
        names.push_back(interface.name);
    }
    EXPECT_THAT(names, testing::ElementsAre("ath0", "ath20", "ath10", "eth", "timer"));
    EXPECT_THAT(setup.node.options, testing::ElementsAre("-p", "2"));
    EXPECT_EQ(setup.ssid, "of a house");
    EXPECT_EQ(setup.root_address, "192.168.1.20");
    EXPECT_NE(setup.own_address, "192.168.1.20");
}

TEST(ReplayGaps, tell_of_every_line_whose_input_the_log_lacks) {
    for (const lab::MissingRow& row : lab::replay_missing_table()) {
        ReplayLog log = log_of({START});
        log.lines.push_back({2, std::string(row.text) + " x", {}});
        EXPECT_THAT(lab::replay_gaps(log),
                    testing::Contains(testing::StartsWith(std::string(row.input))));
    }
}

}  // namespace
