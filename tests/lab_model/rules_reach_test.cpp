// The rules about the way to a root.

#include "tests/lab_model/rules_fixture.h"

namespace lab {
namespace {

TEST_F(Rules, ready_needs_root_tells_who_is_ready_and_gets_through_to_nobody) {
    begin_ready();
    node.reaches_root = false;
    node.above = "e2";
    pass(61);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2"}));
    pass(539);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(),
              (Texts{"no-island: ready for over 600 s without a way to a root, below e2"}));
}

TEST_F(Rules, ready_needs_root_is_content_with_a_way_now_and_then) {
    begin_ready();
    for (int round = 0; round < 20; ++round) {
        node.reaches_root = false;
        pass(60);
        node.reaches_root = true;
        pass(1);
    }
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, ready_needs_root_knows_two_that_met_below_each_other) {
    begin_below_e2();
    other.above = "e1";
    pass(62);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2 (extenders that lost the root met and stay ready below "
                              "each other)"}));
}

TEST_F(Rules, ready_needs_root_knows_a_cable_above_that_leads_nowhere) {
    begin_below_e2();
    other.uplinks = {"eth"};
    pass(62);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2 (a cable is taken as the backhaul wherever it leads)"}));
}

TEST_F(Rules, ready_needs_root_excuses_nobody_below_a_node_that_does_nothing) {
    begin_below_e2();
    pass(62);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2"}));
}

TEST_F(Rules, liveness_tells_who_hears_a_way_and_is_not_ready) {
    look({"<-- backhaul_monitor start -->", change("ath0", 0, 3), change("ath0", 3, 16)});
    node.stations = {{"ath0"}, {"ath1", true, true, false, true}};
    const auto limit = static_cast<int>(liveness_seconds(2));
    pass(limit + 1);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"liveness: not ready " + std::to_string(limit) +
                              " s after the last trouble, while it hears a way to the root"}));
}

TEST_F(Rules, liveness_begins_anew_with_every_trouble_and_every_silence) {
    look({"<-- backhaul_monitor start -->"});
    node.stations = {{"ath0", true, true, false, true}};
    const auto limit = static_cast<int>(liveness_seconds(1));
    pass(limit);
    node.troubled_at = time + 1;
    pass(limit);
    node.stations[0].hears_root = false;
    pass(1);
    node.stations[0].hears_root = true;
    pass(limit);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, liveness_knows_a_parked_station_only_when_no_other_hears_a_way) {
    begin_ready();
    node.status_text = "not ready\n";
    node.service_aps_up.clear();
    node.uplinks.clear();
    look({change("ath0", 7, 6)});
    node.stations = {{"ath0", true, true, false, false}, {"ath1"}};
    pass(static_cast<int>(liveness_seconds(2)) + 2);
    const Texts texts = taken();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0].ends_with("(the only station that hears a way to the root is parked)"));
    node.troubled_at = time;
    node.stations[1] = {"ath1", true, true, false, true};
    look();
    pass(static_cast<int>(liveness_seconds(2)) + 2);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[1].known, "");
}

TEST_F(Rules, liveness_tells_a_station_that_connects_and_does_not_search) {
    begin_ready();
    node.status_text = "not ready\n";
    node.service_aps_up.clear();
    node.uplinks.clear();
    look({event("ath0", 2), change("ath0", 7, 3)});
    node.stations = {{"ath0", true, true, false, true}};
    pass(61);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"liveness: ath0 connects, hears a way to the root and joins nobody "
                              "for 60 s"}));
}

}  // namespace
}  // namespace lab
