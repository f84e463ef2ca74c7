// An extender's own link: associated by a driver event, configured by the agent, ready, lost.

#include <gmock/gmock.h>

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/process/extender_story.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ExtenderLife : public ExtenderStory {
protected:
    /// The extender in state 3, everything until then skipped.
    void start_connecting() {
        start_extender();
        advance(10);
        skip();
    }
};

TEST_F(ExtenderLife, writes_connected_when_the_driver_reports_the_association) {
    start_connecting();
    driver().associated("ath0", ap(1));
    expect_journal(first_link("ath0", ap(1)));
    expect_status("connected\n");
    expect_file("/tmp/rootdistance", "1\n");
    expect_state("ath0", 4);
}

TEST_F(ExtenderLife, reports_connected_after_it_has_read_its_distance_and_before_it_shuts_the_aps) {
    start_connecting();
    lab::answer_hold(router().root(), "iwpriv.ath0.get_whc_dist", "distance");
    lab::answer_hold(router().root(), "uci.set", "store");
    driver().associated("ath0", ap(1));
    expect_status("not ready\n");
    lab::gate_open(router().root(), "distance");
    expect_status("connected\n");
    expect_shell({"hyctl setifbcast br-lan ath0 enable", "iwpriv ath0 get_whc_dist > /tmp/ath_dist",
                  "uci set wireless.ath10.disabled=1"});
}

TEST_F(ExtenderLife, asks_the_agent_for_service_aps_only_after_fifteen_seconds) {
    start_connecting();
    driver().associated("ath0", ap(1));
    skip();
    advance(15);
    expect_journal({});
    advance(1);
    expect_journal(agent_late("ath0", admission_asked_in_vain()));
    expect_status("connected\n");
}

TEST_F(ExtenderLife, is_ready_with_the_sweep_after_the_agent_is_done) {
    start_connecting();
    driver().associated("ath0", ap(1));
    advance(16);
    skip();
    expect_status("connected\n");
    advance(1);
    expect_journal(agent_success("ath0", admission_asked_in_vain()));
    expect_status("ready\n");
    expect_state("ath0", 7);
    expect_file("/tmp/dynamic_24g_txpower", "23\n");
}

TEST_F(ExtenderLife, is_ready_within_a_second_when_the_agent_is_done_on_its_own) {
    start_connecting();
    driver().associated("ath0", ap(1));
    skip();
    for (const char* name : {"APautooutput_5G", "vl1905WIFIState_5G", "APautooutput_G1_24G"}) {
        router().put_file(std::string("/tmp/vl1905/") + name, "configured\n");
    }
    advance(1);
    expect_journal({});
    router().put_file("/tmp/vl1905/vl1905WIFIState_G1_24G", "applied\n");
    advance(1);
    expect_journal(agent_success("ath0", admission_asked_in_vain()));
    expect_status("ready\n");
}

TEST_F(ExtenderLife, asks_again_every_sixteen_seconds_and_only_for_what_is_missing) {
    add_extender();
    lab::agent_mode_set(router().root(), lab::AgentMode::never);
    router().start();
    advance(10);
    driver().associated("ath0", ap(1));
    skip();
    Lines late = agent_late("ath0", admission_asked_in_vain());
    for (int round = 0; round < 2; ++round) {
        advance(15);
        expect_journal({});
        advance(1);
        expect_journal(late);
    }
    router().put_file("/tmp/vl1905/APautooutput_5G", "configured\n");
    std::erase(late, "$ /usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1");
    advance(15);
    expect_journal({});
    advance(1);
    expect_journal(late);
    expect_status("connected\n");
}

TEST_F(ExtenderLife, tells_the_mesh_to_scan_once_it_is_admitted) {
    start_connecting();
    admit();
    skip();
    driver().associated("ath0", ap(1));
    skip();
    advance(16);
    expect_journal(agent_late("ath0", message_sent("FLUSHFORWARDING")));
    EXPECT_THAT(heard(), ElementsAre("FLUSHFORWARDING"));
    advance(1);
    expect_journal(agent_success("ath0", message_sent("UPLINKSCAN")));
    EXPECT_THAT(heard(), ElementsAre("UPLINKSCAN"));
    expect_status("ready\n");
}

TEST_F(ExtenderLife, reports_ready_only_after_it_has_told_the_mesh) {
    start_connecting();
    driver().associated("ath0", ap(1));
    advance(16);
    lab::answer_hold(router().root(), "uci.get.wireless.ath20.ssid", "message");
    skip();
    advance(1);
    expect_shell({"...", "uci get wireless.ath20.ssid"});
    expect_status("connected\n");
    lab::gate_open(router().root(), "message");
    expect_status("ready\n");
}

TEST_F(ExtenderLife, asks_the_root_for_admission_in_place_of_its_messages) {
    start_connecting();
    announce_root();
    expect_file("/tmp/rootap_ip", "192.168.1.1\n");
    driver().associated("ath0", ap(1));
    skip();
    advance(16);
    expect_journal(agent_late("ath0", message_sent("CHECK_VALID")));
    advance(1);
    expect_journal(agent_success("ath0", message_sent("CHECK_VALID")));
    EXPECT_THAT(heard(), ElementsAre("CHECK_VALID", "CHECK_VALID"));
    expect_status("ready\n");
}

TEST_F(ExtenderLife, shuts_everything_and_tries_again_when_the_ready_link_is_lost) {
    start_ready_extender();
    router().put_file("/tmp/assoc_list.5g",
                      "02:00:00:00:00:31 1 2 ath20 3 4\n02:00:00:00:00:32 1 2 ath10 3 4\n");
    // As the agent had configured it.
    router().uci("wireless.ath10.disabled", "0");
    driver().lost("ath0");
    expect_journal(
        joined({driver_down("ath0", ap(1)),
                state_line("BACKHAUL_READY"),
                state_line("AP_DISASSOC"),
                bcast("ath0", "disable"),
                station_disconnect("ath0"),
                {"backhaul_disconnected : No backhaul link, disassociate all sta in backhaul ap",
                 "device_disassoc_all_backhaulap_sta : iwpriv ath20 kickmac 02:00:00:00:00:31",
                 "$ iwpriv ath20 kickmac 02:00:00:00:00:31",
                 "backhaul_disconnected : No backhaul link, disable all service AP"},
                ap_off("ath10"),
                ap_off_already("ath11"),
                tries_again("ath0", 7, 1)}));
    expect_status("not ready\n");
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(ExtenderLife, reports_not_ready_before_it_does_anything_about_the_loss) {
    start_ready_extender();
    lab::answer_hold(router().root(), "hyctl", "bridge");
    driver().lost("ath0");
    expect_status("not ready\n");
    expect_shell({"hyctl setifbcast br-lan ath0 disable"});
}

TEST_F(ExtenderLife, becomes_ready_again_with_another_ap) {
    start_ready_extender();
    driver().lost("ath0");
    expect_journal(joined({ready_link_lost("ath0", ap(1)), tries_again("ath0", 7, 1)}));
    advance(3);
    driver().associated("ath0", ap(2));
    expect_journal(first_link("ath0", ap(2)));
    expect_status("connected\n");
    advance(15);
    expect_journal({});
    advance(1);
    expect_journal(agent_late("ath0", message_sent("FLUSHFORWARDING")));
    advance(1);
    expect_journal(agent_success("ath0", message_sent("UPLINKSCAN")));
    expect_status("ready\n");
    driver().lost("ath0");
    expect_journal(joined({ready_link_lost("ath0", ap(2)), tries_again("ath0", 7, 2)}));
}

TEST_F(ExtenderLife, leaves_the_status_file_alone_when_it_is_lost_before_it_was_ready) {
    start_connecting();
    driver().associated("ath0", ap(1));
    advance(7);
    skip();
    driver().lost("ath0");
    expect_journal(joined({driver_down("ath0", ap(1)), state_line("CONNECT_WITH_BACKHAUL_AP"),
                           state_line("AP_DISASSOC"), bcast("ath0", "disable"),
                           station_disconnect("ath0"), no_link_left(), ap_off_already("ath10"),
                           ap_off_already("ath11"), tries_again("ath0", 4, 1)}));
    expect_status("connected\n");
}

TEST_F(ExtenderLife, reconnects_a_station_that_was_lost_unnoticed_while_the_agent_was_late) {
    start_connecting();
    driver().associated("ath0", ap(1));
    skip();
    driver().lost_silently("ath0");
    advance(15);
    expect_journal({});
    advance(1);
    expect_journal(joined({{"interface_timeout_chk : ath0 -> CONNECT_WITH_BACKHAUL_AP timeout"},
                           event("ath0", 5),
                           state_line("CONNECT_WITH_BACKHAUL_AP"),
                           {"$ iwconfig ath0 | grep Not-Associated > /tmp/iw_result",
                            "backhaul_auto_config_timeout_handle : backhaul sta lost connection, "
                            "try to connect again"},
                           led("BackhaulDisConnect"),
                           change("ath0", 4, 3),
                           station_reconnect("ath0")}));
}

TEST_F(ExtenderLife, asks_the_agent_twice_to_reload_when_it_reports_no_0) {
    add_extender();
    lab::agent_reload_value_unset(router().root());
    router().start();
    advance(10);
    skip();
    driver().associated("ath0", ap(1));
    expect_journal({"...", "backhaul_connected(ath0) : Sync Service AP settings",
                    "$ /usr/sbin/vl1905App 18 1 0",
                    "$ cat /tmp/vl1905.json | grep AP-autoconfig_WiFiReload > "
                    "/tmp/wifi_reload_flag"});
    advance(1);
    expect_journal({});
    advance(1);
    expect_journal(
        joined({{"$ /usr/sbin/vl1905App 18 1 0"}, change("ath0", 3, 4), led("BackhaulConnect")}));
}

}  // namespace
