// What `backhaulctl status` says of a node, from its log and files: the headline, and what each
// interface waits for.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "ctl/status.h"
#include "tests/ctl/story_fixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string waits_of(link_state state, int64_t armed_at, int64_t now) {
    story_link link;
    link.state = state;
    link.armed_at = armed_at;
    std::array<char, 200> text{};
    status_waits(link, now, text);
    return text.data();
}

TEST(StatusWaits, name_what_each_state_waits_for) {
    struct Case {
        link_state state;
        const char* words;
    };
    for (const Case& one : {
             Case{INIT, "nothing: idle, free as a backup"},
             Case{CONNECTING_BACKHAUL_AP, "an AP"},
             Case{CONNECT_WITH_BACKHAUL_AP, "the auto-configuration agent"},
             Case{CONNECTING_TARGET_BACKHAUL_AP, "the better AP"},
             Case{CONNECT_PENDING, "a scan request or the backup search"},
             Case{BACKHAUL_READY, "nothing"},
             Case{LINK_STATE_8, "the auto-configuration agent"},
             Case{LINK_STATE_9, "the auto-configuration agent"},
             Case{DFS_MONITORING, "a look at the channels under radar"},
             Case{DFS_BLOCKING, "a look at the channels under radar"},
             Case{AP_TIMER_WAIT, "the check for vanished interfaces"},
             Case{ETH_BACKHAUL_DOWN, "a cable"},
             Case{ETH_BACKHAUL_CONNECTED, "the auto-configuration agent"},
             Case{ETH_BACKHAUL_READY, "nothing"},
             Case{ETH_BACKHAUL_STANDBY, "the uplink elsewhere to go away"},
         }) {
        EXPECT_EQ(waits_of(one.state, LOG_TIME_NONE, 100), one.words);
    }
}

TEST(StatusWaits, tell_when_the_timeout_is_due) {
    EXPECT_EQ(waits_of(CONNECTING_BACKHAUL_AP, 1000, 1181), "an AP until 00:19:41");
    EXPECT_EQ(waits_of(CONNECTING_BACKHAUL_AP, 1000, 1182), "an AP (due since 00:19:41)");
    EXPECT_EQ(waits_of(DFS_BLOCKING, 0, 10), "a look at the channels under radar until 00:40:01");
    EXPECT_EQ(waits_of(INIT, 1000, 1000), "its configuration until 00:16:46");
    // Looked at each minute, for nothing that anybody waits for.
    EXPECT_EQ(waits_of(BACKHAUL_READY, 1000, 1000), "nothing");
    EXPECT_EQ(waits_of(ETH_BACKHAUL_STANDBY, 1000, 1000), "the uplink elsewhere to go away");
}

class StatusWords : public ctl_test::StoryTest {
protected:
    std::string headline() {
        view.told = &told;
        view.now = told.node().last;
        status_error_find(view);
        std::array<char, 1000> text{};
        status_headline(view, text);
        return text.data();
    }

    status_view view;
};

TEST_F(StatusWords, say_that_the_log_is_empty) {
    EXPECT_EQ(headline(), "UNKNOWN: the log is empty");
}

TEST_F(StatusWords, know_a_root_by_its_list) {
    say(10, "restart hyd");
    EXPECT_EQ(headline(),
              "UNKNOWN: no link state in the log, which begins later than the last change");
    view.extenders = 0;
    EXPECT_EQ(headline(), "ROOT: no link state in the log");
}

TEST_F(StatusWords, tell_the_cable_that_carries_the_uplink) {
    say(0, "<-- backhaul_monitor start -->");
    change(1, "eth", 13, 14);
    EXPECT_THAT(headline(),
                HasSubstr("; eth waits for the auto-configuration agent until 00:00:17"));
    EXPECT_THAT(headline(), HasSubstr("look at the agent, vl1905App"));
    change(4, "eth", 14, 15);
    EXPECT_EQ(headline(), "READY over eth since 1970-01-01 00:00:04");
    view.now_is_log_end = true;
    EXPECT_EQ(headline(),
              "READY over eth since 1970-01-01 00:00:04 (as of 00:00:04, the log's end)");
}

TEST_F(StatusWords, advise_by_the_cause_of_the_outage) {
    wired();
    unplug(100);
    EXPECT_THAT(headline(), StartsWith("OUT since 1970-01-01 00:01:40 (0 s); it began when the "
                                       "cable was pulled; look at the cable"));
}

TEST_F(StatusWords, advise_to_keep_what_a_crash_left) {
    ready();
    say(100, "abnormal termination : 11");
    say(101, "<-- backhaul_monitor start -->");
    EXPECT_THAT(headline(), HasSubstr("it began when the worker was killed by signal 11; keep "
                                      "/var/log/backhaul_flow_log.crash"));
}

TEST_F(StatusWords, advise_about_the_ap_of_a_move) {
    ready();
    say(100, "wifi_slave_event_process : ifname ath0 event 7");
    change(100, "ath0", 7, 5);
    EXPECT_THAT(headline(), HasSubstr("; ath0 waits for the better AP until 00:03:41; look at the "
                                      "AP that it moved to"));
}

TEST_F(StatusWords, send_to_the_explanation_where_the_cause_is_not_known) {
    change(50, "ath0", 7, 3);
    EXPECT_THAT(headline(), HasSubstr("(0 s); the cause is not in the log; ath0 waits for an AP"));
    EXPECT_THAT(headline(), HasSubstr("`backhaulctl explain` tells what came before it"));
}

TEST_F(StatusWords, tell_a_station_that_is_parked_for_its_losses) {
    ready();
    change(30, "ath0", 7, 3);
    change(40, "ath0", 3, 6);
    const std::string line = headline();
    EXPECT_THAT(line, HasSubstr("; ath0 is parked since 00:00:40 after too many losses; "
                                "`backhaulctl send uplink_scan` releases it"));
    EXPECT_THAT(line, Not(HasSubstr("explain")));
}

TEST_F(StatusWords, tell_a_loop_without_an_ap_before_it) {
    ready();
    change(31, "ath1", 0, 3);
    say(60, "wifi_slave_event_process : ifname ath1 event 1");
    say(60, "backhaul_slave_wifi_loop_handle : Enter");
    change(60, "ath1", 3, 6);
    EXPECT_THAT(headline(), HasSubstr("hangs below this node, a loop. Mend the placement, then "
                                      "`backhaulctl send uplink_scan`"));
}

TEST_F(StatusWords, blame_the_way_to_the_root_below_another_node) {
    ready();
    view.distance = {"2"};
    view.root_ip = {"192.168.1.1"};
    lose(100);
    say(281, "interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout");
    EXPECT_THAT(headline(), HasSubstr("; so far ath0 once 180 s in vain"));
    say(462, "interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout");
    view.stations = {true};
    view.interfaces[0] = {"ath0"};
    view.interface_count = 1;
    const std::string line = headline();
    EXPECT_THAT(line,
                HasSubstr("; no station finds an AP on any band (ath0 2 times 180 s in vain): "
                          "the root 192.168.1.1, or every way to it, is gone, or the node "
                          "above has lost its own way to it"));
    EXPECT_THAT(line,
                HasSubstr("look at the root's power and its channel, then at the nodes on the "
                          "way to it; where other nodes are ready, at this one's SSID and key"));
}

TEST_F(StatusWords, tell_a_fresh_error_and_forget_an_old_one) {
    say(0, "<-- backhaul_monitor start -->");
    change(1, "ath0", 0, 3);
    for (int64_t time = 2; time < 12; ++time) {
        say(time, "dev_intf_enable_set : wpa_cli fail, try again");
    }
    EXPECT_THAT(headline(), HasSubstr("\" 10 times in 9 s: look at the supplicant"));
    say(5000, "restart hyd");
    EXPECT_THAT(headline(), Not(HasSubstr("supplicant")));
}

TEST_F(StatusWords, believe_the_status_file_where_no_start_is_in_the_log) {
    change(50, "ath1", 3, 0);
    view.status = {"ready"};
    EXPECT_THAT(headline(), StartsWith("READY, as the status file says"));
    view.status = {"not ready"};
    EXPECT_THAT(headline(), StartsWith("NOT READY since before the log begins at "));
}

}  // namespace
