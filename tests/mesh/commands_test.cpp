// One-word commands through the control FIFO, on the real daemon in both roles.

#include "lab/tools/answer.h"
#include "tests/mesh/mesh_story.h"

namespace {

constexpr char MODE_FILE[] = "/tmp/backhaul_mode_change";

class Commands : public MeshStory {};

TEST_F(Commands, ends_the_worker_at_once_although_another_thread_waits_for_a_tool) {
    start_ready_extender();
    lab::answer_hold(router().root(), "uci.get", "slow");
    advance(61);
    expect_shell({"uci get wireless.ath10.disabled"});
    const pid_t worker = router().daemon().worker();
    command("master\n");
    EXPECT_NE(router().daemon().worker(), worker);
    expect_file(MODE_FILE, "master\n");
    lab::gate_open(router().root(), "slow");
    advance(1);
    expect_out_of_both({"backhaul_fifo_recv : mode change to master", "Wait pid", "Master"});
}

TEST_F(Commands, opens_scans_and_releases_parked_stations_before_it_tells_the_mesh) {
    start_ready_extender();
    driver().lost("ath0");
    skip();
    command("uplink_scan\n");
    expect_journal(
        joined({{"backhaul_slave_backhaul_restore : Enter"}, message_sent("UPLINKSCAN")}));
    EXPECT_EQ(heard(), std::vector<std::string>{"UPLINKSCAN"});
}

TEST_F(Commands, gives_six_new_scans_with_uplink_scan) {
    start_with_scans_used_up();
    command("uplink_scan\n");
    expect_scans_anew();
}

TEST_F(Commands, tells_the_mesh_of_a_network_reload_without_reloading_itself) {
    start_ready_extender();
    command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD"));
    EXPECT_EQ(heard(), std::vector<std::string>{"NETWORKRELOAD"});
}

TEST_F(Commands, broadcasts_from_a_root_that_nobody_had_to_admit) {
    start_root();
    heard();
    skip();
    command("uplink_scan\n");
    expect_journal(
        joined({{"backhaul_slave_backhaul_restore : Enter"}, message_sent("UPLINKSCAN")}));
    EXPECT_EQ(heard(), std::vector<std::string>{"UPLINKSCAN"});
}

class ApprovalCommand : public Commands {
protected:
    const Lines hidden_off = {"$ uci set wireless.ath22.hidden=0", "$ uci commit wireless",
                              "$ uci set wireless.ath23.hidden=0", "$ uci commit wireless",
                              "$ uci set wireless.ath24.hidden=0", "$ uci commit wireless"};
};

TEST_F(ApprovalCommand, enables_the_secondary_aps_while_nobody_is_approved) {
    start_root();
    skip();
    command("approval_list_changed\n");
    expect_journal(
        joined({hidden_off,
                {"dev_intf_enable_set : enable ath22", "$ uci get wireless.ath10.disabled",
                 "$ uci set wireless.ath22.disabled=0", "$ uci commit wireless",
                 "$ /etc/init.d/wireless restart"},
                hidden_off,
                {"dev_intf_enable_set : enable ath23", "$ uci get wireless.ath11.disabled",
                 "$ uci set wireless.ath23.disabled=0", "$ uci commit wireless",
                 "$ /etc/init.d/wireless restart"}}));
}

TEST_F(ApprovalCommand, disables_the_secondary_aps_once_somebody_is_approved) {
    start_root();
    router().put_file("/tmp/ApplicationData/Approvelist", "02:00:00:00:00:20 1 MRX50\n");
    skip();
    command("approval_list_changed\n");
    expect_journal(joined({hidden_off, ap_off("ath22"), hidden_off, ap_off("ath23")}));
    // The check of the root loop then finds the list complete and withdraws the companions.
    advance_until_log("device_ap_steering_workaround : Enter", 61);
    expect_log(
        {"...", "device_ap_steering_workaround : Enter", "device_5g_high_ap_set : config 0"});
}

}  // namespace
