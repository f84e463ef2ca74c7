// What must have been so for a second's lines to come about.
#include <gtest/gtest.h>

#include "lab/replay/replay_world.h"
#include "tests/lab_replay/log_of.h"

namespace {

using harness::log_of;
using lab::AirReply;
using lab::PendingLines;
using lab::Seen;

class World : public testing::Test {
protected:
    PendingLines lines_of(std::initializer_list<std::string_view> lines) {
        log_ = log_of(lines);
        PendingLines pending;
        for (const auto& line : log_.lines) {
            pending.push_back(&line);
        }
        return pending;
    }

    lab::ReplayLog log_;
};

TEST_F(World, tools_answer_what_the_next_line_of_the_kind_says) {
    const PendingLines lines = lines_of({"1 qca_dist_get : dist 2", "1 qca_dist_get : dist 3"});
    const AirReply reply = lab::tool_reply(lines, {"iwpriv", {"ath0", "get_whc_dist"}});
    EXPECT_FALSE(reply.local);
    EXPECT_EQ(reply.answer.out, "ath0      get_whc_dist:2  \n");
}

TEST_F(World, no_better_access_point_is_found_where_none_is_told) {
    const AirReply reply = lab::tool_reply(lines_of({}), {"iwpriv", {"ath0", "get_whc_bssid"}});
    EXPECT_FALSE(reply.local);
    EXPECT_EQ(reply.answer.out, "");
}

TEST_F(World, the_supplicant_fails_where_the_next_line_says_so) {
    const lab::AirRequest request{"wpa_cli", {"-g", "x", "interface_add", "ath0", "y"}};
    EXPECT_EQ(
        lab::tool_reply(lines_of({"1 dev_intf_enable_set : wpa_cli fail, try again"}), request)
            .answer.out,
        "FAIL\n");
    EXPECT_TRUE(lab::tool_reply(lines_of({"1 qca_dist_get : dist 1"}), request).local);
}

TEST_F(World, a_station_is_seen_without_its_access_point_where_a_check_finds_that) {
    const PendingLines lines =
        lines_of({"1 interface_timeout_chk : backhaul(ath0) is discconnected, try to reconnect"});
    std::string mac;
    EXPECT_EQ(lab::interface_seen(lines, "ath0", mac), Seen::not_associated);
    EXPECT_EQ(lab::interface_seen(lines, "ath1", mac), Seen::as_last_told);
}

TEST_F(World, a_second_without_anything_needs_nothing) {
    EXPECT_EQ(lab::second_facts(lines_of({})), lab::SecondFacts());
}

TEST_F(World, the_topology_holds_a_loop_where_one_is_found) {
    const lab::SecondFacts facts = lab::second_facts(lines_of(
        {"1 Connect with : 02:00:00:00:01:04", "1 backhaul_db_topo_check : there will be a loop"}));
    EXPECT_EQ(facts.topology, lab::Topology::loop);
    EXPECT_EQ(facts.access_points, std::vector<std::string>{"02:00:00:00:01:04"});
}

TEST_F(World, a_reconnect_that_begins_anew_had_no_supplicant) {
    EXPECT_TRUE(lab::second_facts(lines_of({"1 backhaul_disconnected : try to reconnect",
                                            "1 dev_intf_enable_set : enable ath0"}))
                    .supplicant_gone);
    EXPECT_FALSE(
        lab::second_facts(lines_of({"1 backhaul_disconnected : try to reconnect",
                                    "1 backhaul_intf_state_change : change ath0 state from 7 to 3",
                                    "1 dev_intf_enable_set : enable ath1"}))
            .supplicant_gone);
}

}  // namespace
