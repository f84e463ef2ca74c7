// What a reaction has done, and what not yet, at the moment in which it runs a certain tool: files,
// timeouts and locks have their place in the order as well, and no journal shows it.

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "link/eth_switch.h"
#include "link/slave_event.h"
#include "link/slave_start.h"
#include "link/timeout_check.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace {

class ReactionOrder : public LinkTest {
protected:
    /// Runs `reaction` and lets `look` see the node while the tool call that `key` names is under
    /// way.
    template <typename Reaction, typename Look>
    static void look_at_call(const std::string& key, Reaction reaction, Look look) {
        SCOPED_TRACE("while " + key + " runs");
        lab::gate_shut("", "look");
        ASSERT_TRUE(lab::answer_hold("", key, "look"));
        std::thread thread(reaction);
        const bool reached = harness::wait_until([&] { return lab::answers_left("", key) == 0; });
        EXPECT_TRUE(reached) << testing::PrintToString(harness::recorded_calls());
        if (reached) {
            look();
        }
        lab::answers_clear("", key);
        lab::gate_open("", "look");
        thread.join();
    }

    /// As above for one event of `record` in `state`.
    template <typename Look>
    static void look_at_reaction(intf_record* record, int32_t state, uint32_t number,
                                 const std::string& key, Look look) {
        enter(record, state);
        look_at_call(
            key, [=] { wifi_slave_event_process(record, static_cast<slave_event>(number)); }, look);
    }

    static bool dispatcher_is_busy() {
        if (pthread_mutex_trylock(&runtime.state_mutex) == EBUSY) {
            return true;
        }
        pthread_mutex_unlock(&runtime.state_mutex);
        return false;
    }
};

TEST_F(ReactionOrder, clears_the_timeout_first_and_holds_the_mutex_to_the_end) {
    struct first_call {
        int32_t state;
        uint32_t number;
        const char* key;
    };
    constexpr first_call FIRST_CALLS[] = {
        {INIT, START, "uci.get.wireless.ath0.ssid"},
        {CONNECTING_BACKHAUL_AP, ASSOC, "hyctl"},
        {CONNECTING_BACKHAUL_AP, TIMEOUT, "wpa_cli.interface_remove"},
        {CONNECT_WITH_BACKHAUL_AP, AP_DISASSOC, "hyctl"},
        {CONNECT_WITH_BACKHAUL_AP, AUTO_CONFIG_SUCCESS, "iwpriv.ath0.get_whc_dist"},
        {CONNECT_WITH_BACKHAUL_AP, TIMEOUT, "iwconfig.ath0"},
        {BACKHAUL_READY, AP_DISASSOC, "hyctl"},
        {CONNECTING_TARGET_BACKHAUL_AP, TIMEOUT, "wpa_cli.disconnect"},
    };
    for (const first_call& first : FIRST_CALLS) {
        runtime.backhaul_sta_num = 1;
        look_at_reaction(ath0, first.state, first.number, first.key, [&] {
            EXPECT_EQ(ath0->timer_type, 0);
            EXPECT_EQ(ath0->timer_start, 0U);
            EXPECT_EQ(ath0->state, first.state);
            EXPECT_TRUE(dispatcher_is_busy());
        });
    }
    look_at_reaction(eth, ETH_BACKHAUL_CONNECTED, AUTO_CONFIG_SUCCESS, "hyd.stop",
                     [&] { EXPECT_EQ(eth->timer_type, 0); });
}

TEST_F(ReactionOrder, starts_a_station_in_state_3_with_the_type_file_written) {
    look_at_reaction(ath0, INIT, START, "uci.set.wireless.ath0.disabled=0", [&] {
        EXPECT_EQ(harness::file_text("/tmp/backhaul_type"), "wifi\n");
        EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    });
}

TEST_F(ReactionOrder, writes_the_wired_type_before_it_asks_the_agent) {
    runtime.eth_backhaul_active = 1;
    look_at_reaction(ath0, INIT, START, "vl1905App.18", [&] {
        EXPECT_EQ(harness::file_text("/tmp/backhaul_type"), "ethernet\n");
        EXPECT_EQ(ath0->timer_type, 0);
        EXPECT_EQ(eth->state, ETH_BACKHAUL_DOWN);
    });
}

TEST_F(ReactionOrder, is_connected_once_the_distance_is_known_and_before_the_aps_are_disabled) {
    harness::put_file("/tmp/backhaul_status", "not ready\n");
    look_at_reaction(ath0, CONNECTING_BACKHAUL_AP, ASSOC, "iwpriv.ath0.get_whc_dist", [&] {
        EXPECT_EQ(runtime.backhaul_sta_num, 1);
        EXPECT_EQ(status_file(), "not ready\n");
    });
    EXPECT_EQ(status_file(), "connected\n");

    runtime.backhaul_sta_num = 0;
    harness::put_file("/tmp/backhaul_status", "not ready\n");
    look_at_reaction(ath0, CONNECTING_BACKHAUL_AP, ASSOC, "uci.set.wireless.ath10.disabled=1", [&] {
        EXPECT_EQ(status_file(), "connected\n");
        EXPECT_EQ(harness::file_text("/tmp/rootdistance"), "2\n");
        EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    });
}

TEST_F(ReactionOrder, is_ready_only_after_the_other_nodes_were_told) {
    runtime.backhaul_sta_num = 1;
    harness::put_file("/tmp/backhaul_status", "connected\n");
    look_at_reaction(ath0, CONNECT_WITH_BACKHAUL_AP, AUTO_CONFIG_SUCCESS,
                     "uci.get.wireless.ath20.ssid", [&] {
                         EXPECT_EQ(status_file(), "connected\n");
                         EXPECT_EQ(ath0->state, CONNECT_WITH_BACKHAUL_AP);
                     });
    EXPECT_EQ(status_file(), "ready\n");
}

TEST_F(ReactionOrder, is_ready_over_the_cable_only_after_the_transmit_power_was_set) {
    harness::put_file("/tmp/backhaul_status", "not ready\n");
    look_at_reaction(eth, ETH_BACKHAUL_CONNECTED, AUTO_CONFIG_SUCCESS, "iwpriv.wifi1.cca_threshold",
                     [&] {
                         EXPECT_EQ(status_file(), "not ready\n");
                         EXPECT_EQ(eth->state, ETH_BACKHAUL_CONNECTED);
                     });
    EXPECT_EQ(status_file(), "ready\n");
}

TEST_F(ReactionOrder, ends_a_switch_with_the_distance_then_the_timeout_then_the_status) {
    harness::put_file("/tmp/backhaul_status", "not ready\n");
    look_at_reaction(ath0, CONNECTING_TARGET_BACKHAUL_AP, ASSOC, "iwpriv.ath20.set_whc_dist", [&] {
        EXPECT_EQ(ath0->timer_type, 1);
        EXPECT_EQ(status_file(), "not ready\n");
        EXPECT_EQ(ath0->state, CONNECTING_TARGET_BACKHAUL_AP);
    });
    EXPECT_EQ(status_file(), "ready\n");
}

TEST_F(ReactionOrder, reports_a_failed_switch_before_it_handles_the_loss) {
    runtime.backhaul_sta_num = 1;
    harness::put_file("/tmp/backhaul_status", "ready\n");
    look_at_reaction(ath0, CONNECTING_TARGET_BACKHAUL_AP, TIMEOUT, "wpa_cli.disconnect", [&] {
        EXPECT_EQ(status_file(), "not ready\n");
        EXPECT_EQ(runtime.backhaul_sta_num, 0);
    });
}

TEST_F(ReactionOrder, opens_the_scan_budget_before_the_supplicant_is_told_to_disconnect) {
    runtime.backhaul_sta_num = 1;
    ath0->uplink_scan_count = 6;
    ath0->other_band_scan_enable = 0;
    look_at_reaction(ath0, BACKHAUL_READY, AP_DISASSOC, "wpa_cli.disconnect", [&] {
        EXPECT_EQ(runtime.backhaul_sta_num, 0);
        EXPECT_EQ(ath0->uplink_scan_count, 0);
        EXPECT_EQ(ath0->other_band_scan_enable, 1);
        EXPECT_EQ(ath0->disconnect_count, 0);
    });
}

TEST_F(ReactionOrder, starts_as_not_ready_before_it_touches_an_interface) {
    harness::put_file("/tmp/backhaul_status", "ready\n");
    look_at_call("uci.get.wireless.ath10.disabled", backhaul_slave_init, [] {
        EXPECT_EQ(status_file(), "not ready\n");
        EXPECT_EQ(runtime.intf_init_done, 0);
    });
    EXPECT_EQ(runtime.intf_init_done, 1);
}

/// The periodic work must not keep events of the other threads waiting.
TEST_F(ReactionOrder, does_periodic_work_outside_the_mutex_with_the_timeout_cleared) {
    for (intf_record* const record : {ath0, eth}) {
        enter(record, record == eth ? ETH_BACKHAUL_READY : BACKHAUL_READY);
        look_at_call(
            "uci.get.wireless.ath10.disabled",
            [=] { interface_timeout_chk(record, harness::clock_now() + 61); },
            [=] {
                EXPECT_EQ(record->timer_type, 0);
                EXPECT_FALSE(dispatcher_is_busy());
            });
        EXPECT_EQ(record->timer_type, 1);
    }
}

TEST_F(ReactionOrder, scans_outside_the_mutex_and_re_arms_before_it_asks_for_the_association) {
    runtime.backhaul_sta_num = 1;
    const auto tick = [this] {
        enter(ath0, BACKHAUL_READY);
        interface_timeout_chk(ath0, harness::clock_now() + 61);
    };
    look_at_call("iwpriv.ath0.sendprobereq", tick, [&] {
        EXPECT_EQ(ath0->timer_type, 0);
        EXPECT_EQ(ath0->uplink_scan_count, 1) << "counted before it runs";
        EXPECT_FALSE(dispatcher_is_busy());
    });
    look_at_call("iwconfig.ath0", tick, [&] {
        EXPECT_EQ(ath0->timer_type, 1);
        EXPECT_FALSE(dispatcher_is_busy());
    });
}

TEST_F(ReactionOrder, moves_to_the_cable_while_the_dispatcher_is_busy) {
    enter(ath0, BACKHAUL_READY);
    pthread_mutex_lock(&runtime.state_mutex);
    wifi_slave_eth_detect();
    pthread_mutex_unlock(&runtime.state_mutex);
    EXPECT_EQ(eth->state, ETH_BACKHAUL_READY);
}

TEST_F(ReactionOrder, flags_the_cable_and_counts_no_link_before_the_first_station_moves_aside) {
    runtime.backhaul_sta_num = 2;
    runtime.backup_backhaul_sta = ath1;
    enter(ath0, CONNECT_WITH_BACKHAUL_AP);
    look_at_call("vl1905App.18", wifi_slave_eth_detect, [&] {
        EXPECT_EQ(runtime.eth_backhaul_active, 1);
        EXPECT_EQ(runtime.backhaul_sta_num, 0);
        EXPECT_EQ(ath0->timer_type, 0);
        EXPECT_EQ(runtime.backup_backhaul_sta.get(), ath1) << "forgotten at the end only";
    });
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), nullptr);
}

TEST_F(ReactionOrder, leaves_the_cable_before_the_service_aps_are_shut) {
    runtime.eth_backhaul_active = 1;
    enter(eth, ETH_BACKHAUL_READY);
    ath0->state = ETH_BACKHAUL_STANDBY;
    look_at_call("uci.get.wireless.ath10.disabled", wifi_backhaul_recover, [&] {
        EXPECT_EQ(runtime.eth_backhaul_active, 0);
        EXPECT_EQ(eth->state, ETH_BACKHAUL_DOWN);
        EXPECT_EQ(ath0->state, ETH_BACKHAUL_STANDBY) << "the stations come afterwards";
    });
}

}  // namespace
