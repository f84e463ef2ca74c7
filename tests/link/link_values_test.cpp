// The link state machine's decisions as functions of values: no file, no clock, no shell.

#include "device/hop_distance.h"
#include "intf/intf_timer.h"
#include "link/backhaul_status.h"
#include "link/backup_link.h"
#include "link/link_connect.h"
#include "link/link_disconnect.h"
#include "link/link_state.h"
#include "link/ready_tick.h"
#include "link/slave_start.h"
#include "link/timeout_limit.h"
#include "link/uplink_scan.h"

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <span>
#include <string>

namespace {

/// The whole table, written out by hand: a row per current state 0 to 16, a column per requested
/// state 0 to 16. `a` arms, `c` clears, `.` is dropped; the state entered is always the requested.
constexpr std::array<const char*, 17> EXPECTED = {
    // 0123456789012345 6
    "a..a............c",  // 0 INIT
    ".................",  // 1
    ".................",  // 2
    "c..aa.ca........c",  // 3 CONNECTING_BACKHAUL_AP
    "c..aa.ca........c",  // 4 CONNECT_WITH_BACKHAUL_AP
    "...a...a.........",  // 5 CONNECTING_TARGET_BACKHAUL_AP
    "...a.............",  // 6 CONNECT_PENDING
    "c..a.ac.........c",  // 7 BACKHAUL_READY
    ".................",  // 8
    ".................",  // 9
    ".................",  // 10 DFS_MONITORING
    ".................",  // 11 DFS_BLOCKING
    ".................",  // 12 AP_TIMER_WAIT
    "..............aa.",  // 13 ETH_BACKHAUL_DOWN
    ".............c.a.",  // 14 ETH_BACKHAUL_CONNECTED
    ".............ca..",  // 15 ETH_BACKHAUL_READY
    "...a.............",  // 16 ETH_BACKHAUL_STANDBY
};

char transition_letter(int32_t current, int32_t requested) {
    const link_transition* const row =
        link_transition_find(static_cast<link_state>(current), static_cast<link_state>(requested));
    if (row == nullptr) {
        return '.';
    }
    EXPECT_EQ(row->current, current);
    EXPECT_EQ(row->requested, requested);
    return row->timer == TIMER_ON ? 'a' : 'c';
}

TEST(LinkTransitions, every_pair_of_states_is_answered_as_the_table_says) {
    for (int32_t current = 0; current < 17; ++current) {
        std::string got;
        for (int32_t requested = 0; requested < 17; ++requested) {
            got += transition_letter(current, requested);
        }
        EXPECT_EQ(got, EXPECTED[static_cast<size_t>(current)]) << "current state " << current;
    }
}

TEST(LinkTransitions, a_state_outside_the_table_accepts_nothing_and_is_never_entered) {
    for (int32_t other : {-1, 17, 1000}) {
        for (int32_t state = -1; state < 18; ++state) {
            EXPECT_EQ(link_transition_find(static_cast<link_state>(other),
                                           static_cast<link_state>(state)),
                      nullptr);
            EXPECT_EQ(link_transition_find(static_cast<link_state>(state),
                                           static_cast<link_state>(other)),
                      nullptr);
        }
    }
}

TEST(LinkStates, carry_the_numbers_that_the_log_shows) {
    EXPECT_EQ(INIT, 0);
    EXPECT_EQ(CONNECTING_BACKHAUL_AP, 3);
    EXPECT_EQ(CONNECT_WITH_BACKHAUL_AP, 4);
    EXPECT_EQ(CONNECTING_TARGET_BACKHAUL_AP, 5);
    EXPECT_EQ(CONNECT_PENDING, 6);
    EXPECT_EQ(BACKHAUL_READY, 7);
    EXPECT_EQ(DFS_MONITORING, 10);
    EXPECT_EQ(DFS_BLOCKING, 11);
    EXPECT_EQ(AP_TIMER_WAIT, 12);
    EXPECT_EQ(ETH_BACKHAUL_DOWN, 13);
    EXPECT_EQ(ETH_BACKHAUL_CONNECTED, 14);
    EXPECT_EQ(ETH_BACKHAUL_READY, 15);
    EXPECT_EQ(ETH_BACKHAUL_STANDBY, 16);
    EXPECT_STREQ(link_state_name(BACKHAUL_READY), "BACKHAUL_READY");
    EXPECT_STREQ(link_state_name(ETH_BACKHAUL_STANDBY), "ETH_BACKHAUL_STANDBY");
    EXPECT_STREQ(link_state_name(LINK_STATE_8), "-");
    EXPECT_STREQ(link_state_name(17), "-");
    EXPECT_STREQ(link_state_name(-1), "-");
}

TEST(BackhaulStatus, is_one_of_three_texts) {
    EXPECT_EQ(backhaul_status_text(backhaul_status::not_ready), "not ready\n");
    EXPECT_EQ(backhaul_status_text(backhaul_status::connected), "connected\n");
    EXPECT_EQ(backhaul_status_text(backhaul_status::ready), "ready\n");
}

TEST(TimeoutLimits, each_state_has_its_limit_and_the_resting_states_none) {
    struct expected_limit {
        int32_t state;
        int32_t seconds;
    };
    constexpr std::array<expected_limit, 12> LIMITS = {{{0, 5},
                                                        {3, 180},
                                                        {4, 15},
                                                        {5, 120},
                                                        {7, 60},
                                                        {8, 15},
                                                        {9, 120},
                                                        {10, 180},
                                                        {11, 2400},
                                                        {12, 600},
                                                        {14, 15},
                                                        {15, 60}}};
    for (const expected_limit& expected : LIMITS) {
        EXPECT_TRUE(timeout_limit_get(static_cast<link_state>(expected.state), 3).checked)
            << expected.state;
        EXPECT_EQ(timeout_limit_get(static_cast<link_state>(expected.state), 3).seconds,
                  expected.seconds)
            << expected.state;
    }
    for (int32_t state : {-1, 1, 2, 13, 16, 17, 100}) {
        EXPECT_FALSE(timeout_limit_get(static_cast<link_state>(state), 3).checked) << state;
    }
}

TEST(TimeoutLimits, a_parked_station_waits_a_minute_for_each_loss) {
    EXPECT_EQ(timeout_limit_get(CONNECT_PENDING, 0).seconds, 0);
    EXPECT_EQ(timeout_limit_get(CONNECT_PENDING, 3).seconds, 180);
    EXPECT_EQ(timeout_limit_get(CONNECT_PENDING, 10).seconds, 600);
    EXPECT_EQ(timeout_limit_get(CONNECT_PENDING, -1).seconds, -60);
}

TEST(ElapsedTime, is_signed_so_that_a_clock_set_back_lets_nothing_fall_due) {
    EXPECT_EQ(intf_timer_elapsed(1000181, 1000000), 181);
    EXPECT_EQ(intf_timer_elapsed(1000000, 1000005), -5);
    EXPECT_EQ(intf_timer_elapsed(4, 0xFFFFFFFFU), 5);
}

TEST(LinkConnectCase, the_only_link_is_always_the_first_one) {
    for (bool preferred : {false, true}) {
        for (bool backup : {false, true}) {
            EXPECT_EQ(link_connect_choose({1, preferred, backup, BACKHAUL_READY}),
                      link_connect_case::first_link);
        }
    }
}

TEST(LinkConnectCase, the_preferred_station_with_a_backup_is_back) {
    for (const link_state state :
         {INIT, CONNECTING_BACKHAUL_AP, CONNECT_WITH_BACKHAUL_AP, BACKHAUL_READY}) {
        EXPECT_EQ(link_connect_choose({2, true, true, state}), link_connect_case::preferred_back);
        EXPECT_EQ(link_connect_choose({2, true, false, state}), link_connect_case::unknown_status);
    }
}

TEST(LinkConnectCase, another_station_is_surplus_only_while_the_preferred_one_is_up) {
    for (int32_t state = 0; state < 17; ++state) {
        const bool up = state == 4 || state == 7;
        EXPECT_EQ(link_connect_choose({2, false, true, static_cast<link_state>(state)}),
                  up ? link_connect_case::preferred_has_link : link_connect_case::unknown_status)
            << state;
    }
}

TEST(LinkLoss, does_not_count_on_24_ghz_nor_during_a_switch) {
    EXPECT_TRUE(link_loss_counts(BAND_5G, BACKHAUL_READY));
    EXPECT_TRUE(link_loss_counts(BAND_5G_LOW, CONNECT_WITH_BACKHAUL_AP));
    EXPECT_TRUE(link_loss_counts(BAND_NONE, BACKHAUL_READY));
    EXPECT_FALSE(link_loss_counts(BAND_24G, BACKHAUL_READY));
    EXPECT_FALSE(link_loss_counts(BAND_5G, CONNECTING_TARGET_BACKHAUL_AP));
}

TEST(LinkLoss, is_retried_below_the_limit_and_parks_at_it) {
    EXPECT_EQ(link_loss_choose(BACKHAUL_READY, 2, 3), link_loss_action::reconnect);
    EXPECT_EQ(link_loss_choose(CONNECT_WITH_BACKHAUL_AP, 2, 3), link_loss_action::reconnect);
    EXPECT_EQ(link_loss_choose(CONNECTING_TARGET_BACKHAUL_AP, 2, 3),
              link_loss_action::restart_unconfigured);
    for (int32_t state :
         {CONNECT_WITH_BACKHAUL_AP, CONNECTING_TARGET_BACKHAUL_AP, BACKHAUL_READY}) {
        EXPECT_EQ(link_loss_choose(static_cast<link_state>(state), 3, 3), link_loss_action::park)
            << state;
        EXPECT_EQ(link_loss_choose(static_cast<link_state>(state), 0, 0), link_loss_action::park)
            << state;
    }
    for (int32_t state : {0, 3, 6, 10, 13, 14, 15, 16}) {
        EXPECT_EQ(link_loss_choose(static_cast<link_state>(state), 3, 3), link_loss_action::none)
            << state;
    }
}

TEST(LinkLoss, compares_the_signed_count_with_the_unsigned_limit_as_integers) {
    EXPECT_EQ(link_loss_choose(BACKHAUL_READY, -1, 0), link_loss_action::reconnect);
    EXPECT_EQ(link_loss_choose(BACKHAUL_READY, 127, 200), link_loss_action::reconnect);
    EXPECT_EQ(link_loss_choose(BACKHAUL_READY, -1, 255), link_loss_action::reconnect);
}

struct record_values {
    int32_t type;
    int32_t state;
    uint16_t priority;
};

/// A table of up to five records.
class Table {
public:
    Table(std::initializer_list<record_values> rows) : count_(rows.size()) {
        size_t at = 0;
        for (const record_values& row : rows) {
            records_.at(at).type = static_cast<intf_type>(row.type);
            records_.at(at).state = static_cast<link_state>(row.state);
            records_.at(at).priority = row.priority;
            ++at;
        }
    }
    intf_record& operator[](size_t at) {
        return records_.at(at);
    }
    std::span<intf_record> all() {
        return {records_.data(), count_};
    }

private:
    std::array<intf_record, 5> records_;
    size_t count_;
};

TEST(BackupSearch, takes_the_idle_station_of_highest_priority_and_the_first_on_a_tie) {
    Table table{{BACKHAUL_STA, INIT, 9},
                {MAIN_SERVICE_AP, INIT, 99},
                {BACKHAUL_STA, INIT, 5},
                {BACKHAUL_STA, INIT, 7},
                {BACKHAUL_STA, INIT, 7}};
    EXPECT_EQ(backup_station_choose(table.all(), &table[0]), &table[3]);
    EXPECT_EQ(backup_station_choose(table.all(), &table[3]), &table[0]);
}

TEST(BackupSearch, never_takes_a_station_that_is_not_idle) {
    for (int32_t state = 1; state < 17; ++state) {
        Table table{{BACKHAUL_STA, INIT, 9}, {BACKHAUL_STA, state, 5}};
        EXPECT_EQ(backup_station_choose(table.all(), &table[0]), nullptr) << state;
    }
}

TEST(BackupSearch, takes_a_station_of_priority_0) {
    Table table{{BACKHAUL_STA, INIT, 9}, {BACKHAUL_STA, INIT, 0}};
    EXPECT_EQ(backup_station_choose(table.all(), &table[0]), &table[1]);
}

TEST(PreferredStation, is_the_one_of_highest_priority_and_the_first_on_a_tie) {
    Table table{{BACKHAUL_AP, INIT, 99},
                {BACKHAUL_STA, INIT, 4},
                {BACKHAUL_STA, INIT, 6},
                {BACKHAUL_STA, INIT, 6}};
    EXPECT_EQ(preferred_station_choose(table.all()), &table[2]);
    Table equal{{BACKHAUL_STA, INIT, 0}, {BACKHAUL_STA, INIT, 0}};
    EXPECT_EQ(preferred_station_choose(equal.all()), &equal[0]);
    EXPECT_EQ(preferred_station_choose(table.all().first(1)), nullptr);
}

TEST(ReadyDecay, forgives_one_loss_after_five_ready_periods) {
    int8_t losses = 2;
    uint8_t ready = 0;
    for (uint8_t period = 1; period <= 4; ++period) {
        const ready_decay_result step = ready_decay_step(losses, ready, 5);
        EXPECT_TRUE(step.counted);
        EXPECT_EQ(step.disconnect_count, 2);
        EXPECT_EQ(step.ready_count, period);
        ready = step.ready_count;
    }
    const ready_decay_result fifth = ready_decay_step(losses, ready, 5);
    EXPECT_TRUE(fifth.counted);
    EXPECT_EQ(fifth.disconnect_count, 1);
    EXPECT_EQ(fifth.ready_count, 0);
}

TEST(ReadyDecay, counts_nothing_without_losses_and_lowers_every_period_at_0_and_1) {
    for (int8_t losses : {int8_t{0}, int8_t{-1}}) {
        const ready_decay_result step = ready_decay_step(losses, 3, 5);
        EXPECT_FALSE(step.counted);
        EXPECT_EQ(step.disconnect_count, losses);
        EXPECT_EQ(step.ready_count, 3);
    }
    for (uint8_t decay : {uint8_t{0}, uint8_t{1}}) {
        EXPECT_EQ(ready_decay_step(2, 0, decay).disconnect_count, 1);
        EXPECT_EQ(ready_decay_step(2, 0, decay).ready_count, 0);
    }
}

TEST(HopDistance, is_the_integer_after_the_first_colon) {
    EXPECT_EQ(hop_distance_parse("ath0      get_whc_dist:2\n"), 2);
    EXPECT_EQ(hop_distance_parse("ath0 get_whc_dist:255  \n"), 255);
    EXPECT_EQ(hop_distance_parse("a:-1\n"), -1);
    EXPECT_EQ(hop_distance_parse("a:b:3\n"), 0);
    EXPECT_EQ(hop_distance_parse("no number\n"), 0);
    EXPECT_EQ(hop_distance_parse(":4\n"), 0);
    EXPECT_EQ(hop_distance_parse(""), 0);
}

TEST(ScanCandidate, is_new_unless_it_is_nothing_or_the_current_ap) {
    const mac_address zero{};
    const mac_address current{2, 0, 0, 0, 0, 1};
    const mac_address better{2, 0, 0, 0, 0, 2};
    EXPECT_FALSE(scan_candidate_is_new(zero, current));
    EXPECT_FALSE(scan_candidate_is_new(zero, zero));
    EXPECT_FALSE(scan_candidate_is_new(current, current));
    EXPECT_TRUE(scan_candidate_is_new(better, current));
    EXPECT_TRUE(scan_candidate_is_new(better, zero));
}

}  // namespace
