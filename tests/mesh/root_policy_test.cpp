// What a root does to its access points: the health check, the approval list, the companions
// "ath22" and "ath23".

#include "lab/tools/state_layout.h"
#include "tests/mesh/root_story.h"

namespace {

const Lines ENTER = {"device_ap_steering_workaround : Enter"};
const Lines NOT_READY = {"device_approval_list_check : approval list not ready"};

Lines config(int value) {
    return {"device_5g_high_ap_set : config " + std::to_string(value)};
}

/// A companion is withdrawn.
Lines withdrawn(const std::string& name) {
    return joined({option_set(name, "hidden", "1"),
                   {"$ uci get wireless." + name + ".disabled"},
                   option_set(name, "disabled", "1"),
                   {"$ /etc/init.d/wireless restart"}});
}

/// A companion is offered that runs already.
Lines hidden(const std::string& name) {
    return joined({option_set(name, "hidden", "1"), {"$ uci get wireless." + name + ".disabled"}});
}

class HealthCheck : public RootStory {};

TEST_F(HealthCheck, looks_at_every_ap_after_60_seconds_and_every_30) {
    start_root();
    for (const std::uint32_t second : {60U, 90U, 120U}) {
        only_second(second);
        const Lines found = router().new_shell();
        const Lines expected = health_check();
        ASSERT_GE(found.size(), expected.size()) << second;
        for (size_t at = 0; at < expected.size(); ++at) {
            EXPECT_EQ("$ " + found[at], expected[at]) << second;
        }
    }
}

TEST_F(HealthCheck, reloads_an_ap_that_is_down) {
    start_root();
    advance(60);
    lab::wifi_bss_up_set(router().root(), "ath11", false);
    lab::wifi_bss_up_set(router().root(), "ath20", false);
    only_second(90);
    expect_journal(
        joined({{"$ uci get wireless.ath10.disabled", "$ iwconfig ath10 | grep Not-Associated",
                 "$ uci get wireless.ath11.disabled", "$ iwconfig ath11 | grep Not-Associated",
                 "ap_alive_chk(not alive) : reload ath11", "$ /etc/init.d/wireless restart",
                 "$ uci get wireless.ath20.disabled", "$ iwconfig ath20 | grep Not-Associated",
                 "ap_alive_chk(not alive) : reload ath20", "$ /etc/init.d/wireless restart",
                 "$ uci get wireless.ath22.disabled", "$ iwconfig ath22 | grep Not-Associated",
                 "$ uci get wireless.ath23.disabled", "$ iwconfig ath23 | grep Not-Associated"},
                announced()}));
    expect_file("/tmp/WirelessDev", "wifi2");
    expect_file("/tmp/wifi24G_Apply", "ath11");
    expect_file("/tmp/wifi5G_2_Apply", "ath20");
    only_second(120);
    expect_log({});
}

TEST_F(HealthCheck, leaves_an_ap_alone_that_is_meant_to_be_down) {
    start_root();
    router().uci("wireless.ath10.disabled", "1");
    lab::wifi_bss_up_set(router().root(), "ath10", false);
    only_second(90);
    expect_journal(joined({health_check({"ath10"}), announced()}));
}

TEST_F(HealthCheck, leaves_the_aps_of_a_radio_alone_that_is_being_set) {
    start_root();
    advance(60);
    for (const char* name : {"ath10", "ath11", "ath20"}) {
        lab::wifi_bss_up_set(router().root(), name, false);
    }
    // The lower 5 GHz radio is busy, the 2.4 GHz one is done, the upper one never said anything.
    router().put_file("/tmp/wifi5G_Status", "now-isSetting-ath10\n");
    router().put_file("/tmp/wifi24G_Status", "done isSetting\n");
    only_second(90);
    expect_log(
        {"ap_alive_chk(not alive) : reload ath11", "ap_alive_chk(not alive) : reload ath20"});
    router().put_file("/tmp/wifi5G_Status", "done\n");
    only_second(120);
    expect_log({"ap_alive_chk(not alive) : reload ath10"});
}

class ApprovalList : public RootStory {};

TEST_F(ApprovalList, is_waited_for_while_it_is_missing) {
    start_root();
    only_second(60);
    expect_journal(joined({health_check(), announced()}));
    for (const std::uint32_t second : {70U, 80U}) {
        only_second(second);
        expect_journal(announced());
    }
    approvals("02:00:00:00:00:20 0 MRX50\n");
    only_second(90);
    expect_journal(joined({health_check(), announced(), ENTER}));
    only_second(100);
    expect_journal(announced());
}

TEST_F(ApprovalList, changes_nothing_with_nobody_approved) {
    start_with_approvals("02:00:00:00:00:20 0 MRX70\n02:00:00:00:00:30 0\n");
    only_second(60);
    expect_journal(joined({health_check(), announced(), ENTER}));
    only_second(70);
    expect_journal(announced());
}

TEST_F(ApprovalList, withdraws_the_companions_with_another_model_approved) {
    start_with_approvals("02:00:00:00:00:20 1 MRX50\n02:00:00:00:00:30 0 MRX70\n");
    only_second(60);
    expect_journal(joined({health_check({"ath22", "ath23"}), announced(), ENTER, config(0),
                           withdrawn("ath22"), withdrawn("ath23")}));
    only_second(70);
    expect_journal(announced());
    EXPECT_EQ(lab::uci_committed_get(router().root(), "wireless.ath22.hidden"), "1");
    EXPECT_EQ(lab::uci_committed_get(router().root(), "wireless.ath23.disabled"), "1");
    expect_file("/tmp/WirelessDev", "wifi2");
    expect_file("/tmp/wifi5G_2_Apply", "ath23");
}

TEST_F(ApprovalList, offers_the_companions_with_the_one_model_approved) {
    start_with_approvals("02:00:00:00:00:20 1 MRX50\n02:00:00:00:00:30 7 MRX70\n");
    only_second(60);
    expect_journal(joined({health_check({"ath22", "ath23"}), announced(), ENTER, config(1),
                           hidden("ath22"), ap_on_following("ath22", "ath10"), hidden("ath23"),
                           ap_on_following("ath23", "ath11")}));
    EXPECT_EQ(lab::uci_committed_get(router().root(), "wireless.ath22.hidden"), "1");
    EXPECT_EQ(lab::uci_committed_get(router().root(), "wireless.ath22.disabled"), "0");
}

TEST_F(ApprovalList, hides_companions_that_run_already_and_nothing_else) {
    start_with_approvals("02:00:00:00:00:30 1 MRX70\n");
    router().uci("wireless.ath22.disabled", "0");
    lab::wifi_bss_up_set(router().root(), "ath22", true);
    only_second(60);
    expect_journal(joined({health_check({"ath23"}), announced(), ENTER, config(1), hidden("ath22"),
                           hidden("ath23"), ap_on_following("ath23", "ath11")}));
}

TEST_F(ApprovalList, is_looked_at_every_ten_seconds_until_its_models_are_there) {
    start_with_approvals("02:00:00:00:00:20 1\n02:00:00:00:00:30 0 MRX70\n");
    only_second(60);
    expect_journal(joined({health_check({"ath22", "ath23"}), announced(), NOT_READY}));
    for (const std::uint32_t second : {70U, 80U}) {
        only_second(second);
        expect_journal(joined({announced(), NOT_READY}));
    }
    approvals("02:00:00:00:00:20 1 MRX50\n02:00:00:00:00:30 0 MRX70\n");
    only_second(90);
    expect_log(joined({ENTER, config(0)}));
    only_second(100);
    expect_journal(announced());
}

TEST_F(ApprovalList, is_looked_at_again_after_the_command) {
    start_with_approvals("02:00:00:00:00:20 1 MRX50\n");
    only_second(60);
    expect_log(joined({ENTER, config(0)}));
    approvals("02:00:00:00:00:20 1 MRX70\n");
    only_second(70);
    expect_journal(announced());
    const Lines hidden_off =
        joined({option_set("ath22", "hidden", "0"), option_set("ath23", "hidden", "0"),
                option_set("ath24", "hidden", "0")});
    command("approval_list_changed\n");
    expect_journal(
        joined({hidden_off, ap_off_already("ath22"), hidden_off, ap_off_already("ath23")}));
    only_second(80);
    expect_journal(
        joined({announced(), ENTER, config(1), hidden("ath22"), ap_on_following("ath22", "ath10"),
                hidden("ath23"), ap_on_following("ath23", "ath11")}));
    only_second(90);
    expect_log({});
}

TEST_F(ApprovalList, passes_over_companions_that_the_table_lacks) {
    add_root().put_file("/tmp/wifi_if_profile",
                        "ath10 MAIN_SERVICE_AP 5l 0 0\nath23 GUEST_SERVICE_AP 5h 0 1\n");
    approvals("02:00:00:00:00:20 1 MRX50\n");
    router().start({"-m"});
    only_second(60);
    expect_journal(
        joined({{"$ uci get wireless.ath10.disabled", "$ iwconfig ath10 | grep Not-Associated",
                 "$ uci get wireless.ath23.disabled"},
                announced(),
                ENTER,
                config(0),
                withdrawn("ath23")}));
}

class Companions : public RootStory {
protected:
    /// Both companions are offered and run; what they follow is known.
    void start_offered() {
        start_with_approvals("02:00:00:00:00:30 1 MRX70\n");
        advance(60);
    }

    static Lines look(const std::string& reference) {
        return {"$ uci get wireless." + reference + ".disabled"};
    }
    static Lines reload(const std::string& name, const std::string& enabled,
                        const std::string& disabled) {
        return joined({{"device_wifi_config_check : reload " + name + " " + enabled},
                       option_set(name, "disabled", disabled),
                       {"$ /etc/init.d/wireless restart"}});
    }
};

TEST_F(Companions, follow_the_main_ap_one_check_late) {
    start_offered();
    only_second(120);
    expect_journal(
        joined({health_check(), announced(), {"$ wifi_channel_monitor once"}, look("ath10")}));
    router().uci("wireless.ath10.disabled", "1");
    only_second(170);
    expect_journal(joined({announced(), look("ath10")}));
    only_second(220);
    expect_journal(joined({announced(), look("ath10"), reload("ath22", "0", "1")}));
    expect_file("/tmp/wifi5G_2_Apply", "ath22");
    only_second(320);
    expect_journal(joined({announced(), look("ath10")}));
    router().uci("wireless.ath10.disabled", "0");
    only_second(370);
    expect_journal(joined({announced(), look("ath10")}));
    only_second(470);
    // The check at 420 did the work.
    expect_journal(joined({announced(), look("ath10")}));
    EXPECT_EQ(router().time_of_log("device_wifi_config_check : reload ath22 1"),
              lab::NODE_START_TIME + 420);
    EXPECT_EQ(lab::uci_committed_get(router().root(), "wireless.ath22.disabled"), "0");
}

TEST_F(Companions, follow_the_guest_ap_ten_seconds_behind_and_one_check_late) {
    start_offered();
    advance(65);
    router().uci("wireless.ath11.disabled", "1");
    only_second(130);
    expect_journal(joined({announced(), look("ath11")}));
    only_second(140);
    expect_journal(announced());
    only_second(180);
    expect_journal(
        joined({health_check({"ath11"}), announced(), look("ath11"), reload("ath23", "0", "1")}));
    expect_file("/tmp/wifi5G_2_Apply", "ath23");
    only_second(190);
    expect_journal(announced());
}

TEST_F(Companions, lose_a_change_that_is_taken_back_before_the_next_check) {
    start_offered();
    advance(62);
    router().uci("wireless.ath10.disabled", "1");
    advance(30);
    router().uci("wireless.ath10.disabled", "0");
    advance(150);
    EXPECT_EQ(router().time_of_log("device_wifi_config_check : reload ath22 0"), -1);
    EXPECT_EQ(router().time_of_log("device_wifi_config_check : reload ath22 1"), -1);
}

TEST_F(Companions, carry_the_state_of_the_check_before_when_it_changes_again) {
    start_offered();
    advance(62);
    router().uci("wireless.ath10.disabled", "1");
    only_second(170);
    router().uci("wireless.ath10.disabled", "0");
    only_second(220);
    // What was seen at 170 is carried out, the new change is noted.
    expect_journal(joined({announced(), look("ath10"), reload("ath22", "0", "1")}));
    only_second(270);
    expect_journal(
        joined({health_check({"ath22"}), announced(), look("ath10"), reload("ath22", "1", "0")}));
}

TEST_F(Companions, learn_at_the_first_check_what_a_start_without_interfaces_left_unknown) {
    add_root().put_file("/tmp/backhaul_init_conf", "intf_init_skip\n");
    approvals("02:00:00:00:00:30 1 MRX70\n");
    router().start({"-m"});
    only_second(120);
    expect_journal(
        joined({health_check(), announced(), {"$ wifi_channel_monitor once"}, look("ath10")}));
    only_second(170);
    expect_journal(joined({announced(), look("ath10"), reload("ath22", "1", "0")}));
    only_second(180);
    expect_journal(joined({health_check(), announced(), look("ath11"), reload("ath23", "1", "0")}));
}

TEST_F(Companions, are_left_alone_without_the_one_model) {
    start_with_approvals("02:00:00:00:00:20 1 MRX50\n02:00:00:00:00:30 0 MRX70\n");
    advance(65);
    router().uci("wireless.ath10.disabled", "1");
    router().uci("wireless.ath11.disabled", "1");
    for (const std::uint32_t second : {130U, 170U, 220U, 230U}) {
        only_second(second);
        expect_journal(announced());
    }
}

TEST_F(Companions, that_the_table_lacks_are_never_reloaded) {
    add_root().put_file("/tmp/wifi_if_profile", "ath10 MAIN_SERVICE_AP 5l 0 0\n");
    approvals("02:00:00:00:00:30 1 MRX70\n");
    router().start({"-m"});
    for (const std::uint32_t second : {170U, 220U, 320U}) {
        only_second(second);
        expect_journal(joined({announced(), look("ath10")}));
    }
}

}  // namespace
