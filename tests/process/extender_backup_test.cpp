// Two stations: the spare one takes over and hands back, loops are avoided, failing stations are
// parked and released.

#include <gmock/gmock.h>

#include "tests/process/extender_story.h"

namespace {

using testing::ElementsAre;

/// A profile whose only station is ath0.
constexpr char LONE_STATION[] =
    "ath0 BACKHAUL_STA 5l 200 0\n"
    "ath10 MAIN_SERVICE_AP 5l 0 0\n"
    "ath11 GUEST_SERVICE_AP 2 0 0\n"
    "ath20 BACKHAUL_AP 5h 0 0\n"
    "eth ETHERNET 0 0 0\n";

class ExtenderBackup : public ExtenderStory {
protected:
    /// ath1 carries the ready link, ath0 goes on trying.
    void start_on_backup() {
        start_ready_extender();
        lose_upstream_ap();
        make_ready("ath1", ap(2));
        heard();
    }

    /// ath0 is lost and comes back until it has lost its link `losses` times.
    void lose_and_return(int losses) {
        for (int loss = 0; loss < losses; ++loss) {
            driver().lost("ath0");
            make_ready("ath0", ap(1));
        }
    }

    /// ath0 has no connection within its time.
    static Lines connection_timeout() {
        return joined({{"interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout",
                        "$ iwconfig ath0 | grep Not-Associated"},
                       event("ath0", 5),
                       state_line("CONNECTING_BACKHAUL_AP"),
                       station_off("ath0")});
    }

    /// The third loss of the ready ath0, until it is parked.
    static Lines parked_at_third_loss(const std::string& ap) {
        return joined({ready_link_lost("ath0", ap), loss_counted("ath0", 3), parked("ath0")});
    }

    /// ath0 is associated while the backup ath1 has the link.
    static Lines preferred_is_back(const std::string& ap) {
        return joined({driver_up("ath0", ap),
                       state_line("CONNECTING_BACKHAUL_AP"),
                       state_line("ASSOC"),
                       bcast("ath0", "enable"),
                       {"backhaul_connected(ath0) : backhaul_sta_num 2"}});
    }

    static Lines backup_dropped(int from) {
        return joined({{"backhaul_connected : Best backhaul come back, disable backup sta(ath1)"},
                       change("ath1", from, 0),
                       station_off("ath1")});
    }
};

TEST_F(ExtenderBackup, enables_the_spare_station_181_seconds_after_the_upstream_ap_is_gone) {
    start_ready_extender();
    driver().lost("ath0");
    skip();
    advance(180);
    expect_journal({});
    advance(1);
    expect_journal(joined({connection_timeout(), backup_enabled("ath1"), change("ath0", 16, 3),
                           station_on("ath0"), led("BackhaulDisConnect")}));
    expect_status("not ready\n");
}

TEST_F(ExtenderBackup, tries_a_lone_station_again_when_its_upstream_ap_is_gone) {
    start_with_profile(LONE_STATION);
    advance(10);
    skip();
    for (int round = 0; round < 2; ++round) {
        advance(180);
        expect_journal({});
        advance(1);
        expect_journal(joined({connection_timeout(), search_finding(), change("ath0", 16, 3),
                               station_on("ath0"), led("BackhaulDisConnect")}));
    }
}

TEST_F(ExtenderBackup, lets_the_backup_carry_the_link) {
    start_ready_extender();
    lose_upstream_ap();
    driver().associated("ath1", ap(2));
    expect_journal(first_link("ath1", ap(2)));
    expect_status("connected\n");
    advance(15);
    expect_journal({});
    advance(1);
    expect_journal(agent_late("ath1", message_sent("FLUSHFORWARDING")));
    advance(1);
    expect_journal(agent_success("ath1", message_sent("UPLINKSCAN")));
    expect_status("ready\n");
    EXPECT_THAT(heard(), ElementsAre("FLUSHFORWARDING", "UPLINKSCAN"));
}

TEST_F(ExtenderBackup, keeps_the_preferred_station_trying_beside_a_ready_backup) {
    start_on_backup();
    // 181 seconds after ath0 was enabled beside the backup: 17 of them have passed.
    advance(163);
    expect_never("ath0 ->");
    skip();
    advance(1);
    expect_journal(joined({connection_timeout(),
                           {"find_backup_backhaul_link : already have backup backhaul sta"},
                           change("ath0", 3, 3),
                           station_on("ath0")}));
    expect_status("ready\n");
}

TEST_F(ExtenderBackup, hands_the_ready_link_back_to_the_preferred_station) {
    start_on_backup();
    driver().associated("ath0", ap(1));
    expect_journal(joined({preferred_is_back(ap(1)), backup_dropped(7), change("ath0", 3, 7)}));
    expect_status("ready\n");
    EXPECT_TRUE(heard().empty());
    // It is the only link now.
    driver().lost("ath0");
    expect_journal(joined({ready_link_lost("ath0", ap(1)), tries_again("ath0", 7, 2)}));
    expect_status("not ready\n");
}

TEST_F(ExtenderBackup, goes_on_with_the_configuration_that_the_backup_had_begun) {
    start_ready_extender();
    lose_upstream_ap();
    driver().associated("ath1", ap(2));
    advance(5);
    skip();
    driver().associated("ath0", ap(1));
    expect_journal(
        joined({preferred_is_back(ap(1)),
                backup_dropped(4),
                {"backhaul_connected : backup sta is doing auto-config, try to continue it"},
                change("ath0", 3, 4)}));
    expect_status("connected\n");
    // A new wait of 15 seconds, this time for the preferred station.
    advance(15);
    expect_journal({});
    advance(1);
    expect_journal(agent_late("ath0", message_sent("FLUSHFORWARDING")));
    advance(1);
    expect_journal(agent_success("ath0", message_sent("UPLINKSCAN")));
    expect_status("ready\n");
}

TEST_F(ExtenderBackup, drops_the_backup_while_it_connects_when_the_preferred_station_is_first) {
    start_ready_extender();
    lose_upstream_ap();
    driver().associated("ath0", ap(1));
    Lines expected = first_link("ath0", ap(1));
    const Lines led_last = led("BackhaulConnect");
    expected.resize(expected.size() - led_last.size());
    expect_journal(joined({expected,
                           {"backhaul_connected : Best backhaul is alreay ready, disable "
                            "connecting backup sta(ath1)"},
                           change("ath1", 3, 0),
                           station_off("ath1"),
                           led_last}));
}

TEST_F(ExtenderBackup, switches_the_other_station_off_when_it_associates_too_late) {
    start_ready_extender();
    lose_upstream_ap();
    driver().associated("ath1", ap(2));
    settle();
    driver().associated("ath0", ap(1));
    skip();
    // Its event was under way when it was switched off.
    driver().associated("ath1", ap(2));
    expect_journal(joined({driver_up("ath1", ap(2)), state_line("INIT")}));
}

TEST_F(ExtenderBackup, parks_the_preferred_station_when_it_would_close_a_loop) {
    start_on_backup();
    // The AP belongs to a node whose own uplink is this one.
    router().sql(
        "INSERT INTO ExtenderWiFiLink VALUES"
        "('02:00:00:00:03:01','02:00:00:00:00:31','02:00:00:00:00:20',1);");
    driver().associated("ath0", "02:00:00:00:03:01");
    expect_journal(joined({preferred_is_back("02:00:00:00:03:01"),
                           {"backhaul_db_topo_check : there will be a loop",
                            "backhaul_slave_wifi_loop_handle : Enter"},
                           change("ath0", 3, 6),
                           station_off("ath0")}));
    expect_status("ready\n");
    expect_state("ath0", 6);
    // The backup goes on; a parked station has no timeout of its own.
    advance(700);
    expect_never("ath0 ->");
    expect_never("event");
    expect_status("ready\n");
}

TEST_F(ExtenderBackup, takes_an_ap_that_the_database_does_not_know_for_no_loop) {
    start_on_backup();
    driver().associated("ath0", "02:00:00:00:09:09");
    expect_journal(joined({preferred_is_back("02:00:00:00:09:09"),
                           {"backhaul_db_topo_check : can not find ap almac"},
                           backup_dropped(7),
                           change("ath0", 3, 7)}));
}

TEST_F(ExtenderBackup, parks_at_the_third_loss_and_turns_to_the_spare_station) {
    start_ready_extender();
    lose_and_return(2);
    driver().lost("ath0");
    expect_journal(
        joined({parked_at_third_loss(ap(1)), backup_enabled("ath1"), led("BackhaulDisConnect")}));
    expect_state("ath0", 6);
    expect_state("ath1", 3);
    expect_status("not ready\n");
    make_ready("ath1", ap(2));
    advance(700);
    expect_never("ath0 ->");
    expect_never("event");
    expect_status("ready\n");
}

TEST_F(ExtenderBackup, tries_a_parked_station_again_at_once_without_a_spare_one) {
    start_with_profile(LONE_STATION);
    admit();
    advance(10);
    make_ready("ath0", ap(1));
    lose_and_return(2);
    driver().lost("ath0");
    expect_journal(joined({parked_at_third_loss(ap(1)), search_finding(), change("ath0", 6, 3),
                           station_on("ath0"), led("BackhaulDisConnect")}));
    expect_state("ath0", 3);
    make_ready("ath0", ap(1));
}

TEST_F(ExtenderBackup, parks_at_the_first_loss_with_option_p_1) {
    start_ready_extender({"-p", "1"});
    driver().lost("ath0");
    expect_journal({"...", "backhaul_disconnected(ath0) : sta_intf->disconnect_count 1", "...",
                    "backhaul_intf_state_change : change ath0 state from 7 to 6", "..."});
    expect_state("ath0", 6);
}

TEST_F(ExtenderBackup, never_parks_a_station_of_the_lower_band) {
    start_with_profile(
        "ath0 BACKHAUL_STA 2 200 0\n"
        "ath1 BACKHAUL_STA 5h 100 0\n"
        "ath10 MAIN_SERVICE_AP 5l 0 0\n"
        "ath11 GUEST_SERVICE_AP 2 0 0\n"
        "ath20 BACKHAUL_AP 5h 0 0\n"
        "eth ETHERNET 0 0 0\n");
    admit();
    advance(10);
    make_ready("ath0", ap(1));
    lose_and_return(4);
    driver().lost("ath0");
    expect_journal(joined({ready_link_lost("ath0", ap(1)), tries_again("ath0", 7, 0)}));
}

TEST_F(ExtenderBackup, releases_the_parked_station_with_the_command_uplink_scan) {
    start_ready_extender();
    lose_and_return(2);
    driver().lost("ath0");
    skip();
    heard();
    router().command("uplink_scan\n");
    expect_journal(joined({{"backhaul_slave_backhaul_restore : Enter",
                            "backhaul_slave_backhaul_restore : best backhaul reconncet"},
                           change("ath0", 0, 3),
                           station_on("ath0"),
                           message_sent("UPLINKSCAN")}));
    EXPECT_THAT(heard(), ElementsAre("UPLINKSCAN"));
    // The count starts afresh.
    make_ready("ath0", ap(1));
    driver().lost("ath0");
    expect_journal(joined({ready_link_lost("ath0", ap(1)), tries_again("ath0", 7, 1)}));
}

TEST_F(ExtenderBackup, releases_the_parked_station_with_the_message_of_another_node) {
    start_ready_extender();
    lose_and_return(2);
    driver().lost("ath0");
    skip();
    say("UPLINKSCAN", router().node().ip());
    expect_journal(joined({message_opened(),
                           {"backhaul_notification_recv : recv UPLINKSCAN from 192.168.1.1",
                            "backhaul_slave_backhaul_restore : Enter",
                            "backhaul_slave_backhaul_restore : best backhaul reconncet"},
                           change("ath0", 0, 3),
                           station_on("ath0")}));
    expect_state("ath0", 3);
}

}  // namespace
