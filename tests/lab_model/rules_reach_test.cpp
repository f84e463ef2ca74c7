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

TEST_F(Rules, ready_needs_root_knows_a_cable_that_both_take_for_their_way_up) {
    begin_below_e2();
    node.uplinks = other.uplinks = {"eth"};
    other.above = "e1";
    pass(62);
    EXPECT_EQ(taken(), (Texts{"cable: the cable carries traffic, but eth is down",
                              "ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2 (two extenders take the cable between them as the "
                              "backhaul, each by way of the other)"}));
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

// Books of the looks at which those of a text were stranded: "e1<e2" is e1, below e2.
IslandSummary islands_of(
    const std::vector<std::pair<std::int64_t, std::vector<std::string>>>& looks,
    std::int64_t patience = 10) {
    IslandBook book;
    book.patience = patience;
    for (const auto& [time, nodes] : looks) {
        StrandedNodes stranded;
        for (const std::string& node : nodes) {
            const std::size_t mark = node.find('<');
            stranded[node.substr(0, mark)] = mark == std::string::npos ? "" : node.substr(mark + 1);
        }
        islands_note(&book, time, stranded);
    }
    return islands_summary(book, looks.back().first);
}

TEST(Islands, are_those_that_last_longer_than_the_patience) {
    const IslandSummary short_one = islands_of({{0, {"e1<e2", "e2<e1"}}, {10, {}}});
    EXPECT_EQ(short_one.count, 0);
    EXPECT_EQ(short_one.seconds, 0);
    const IslandSummary lasting = islands_of({{0, {"e1<e2", "e2<e1"}}, {11, {}}, {90, {}}});
    EXPECT_EQ(lasting.count, 1);
    EXPECT_EQ(lasting.seconds, 11);
    EXPECT_EQ(lasting.longest, 11);
}

TEST(Islands, count_once_however_many_nodes_they_have_and_until_the_last_has_left) {
    const IslandSummary one = islands_of({{0, {"e1<e2"}},
                                          {5, {"e1<e2", "e2<e1", "e3<e2"}},
                                          {20, {"e3<e2"}},
                                          {35, {"e3<e2"}},
                                          {40, {}}});
    EXPECT_EQ(one.count, 1);
    EXPECT_EQ(one.longest, 40);
}

TEST(Islands, become_one_where_they_meet_and_stay_so_when_it_falls_apart) {
    const IslandSummary one = islands_of({{0, {"e1<e2", "e2<e1"}},
                                          {20, {"e1<e2", "e2<e1", "e3<e4", "e4<e3"}},
                                          {30, {"e1<e2", "e2<e1", "e3<e1", "e4<e3"}},
                                          {50, {"e1<e2", "e2<e1", "e3<e4", "e4<e3"}},
                                          {60, {}}});
    EXPECT_EQ(one.count, 1);
    EXPECT_EQ(one.seconds, 60);
}

TEST(Islands, are_several_where_they_do_not_touch_or_come_again) {
    const IslandSummary several = islands_of({{0, {"e1<e2", "e2<e1", "e3<e4", "e4<e3"}},
                                              {20, {"e3<e4", "e4<e3"}},
                                              {40, {"e1<e2", "e2<e1", "e3<e4", "e4<e3"}},
                                              {70, {"e1<e2", "e2<e1"}}});
    EXPECT_EQ(several.count, 3);
    EXPECT_EQ(several.seconds, 20 + 70 + 30);
    EXPECT_EQ(several.longest, 70);
}

TEST_F(Rules, no_island_has_the_patience_that_is_asked_for_and_notes_the_island) {
    memory.islands.patience = 90;
    begin_below_e2();
    pass(91);
    EXPECT_EQ(islands_summary(memory.islands, time).count, 0);
    EXPECT_EQ(taken().size(), 1U);
    pass(1);
    EXPECT_EQ(taken(), (Texts{"no-island: ready for over 90 s without a way to a root, below e2"}));
    EXPECT_EQ(islands_summary(memory.islands, time).count, 1);
    EXPECT_EQ(islands_summary(memory.islands, time).longest, 91);
    node.reaches_root = true;
    pass(60);
    EXPECT_EQ(islands_summary(memory.islands, time).seconds, 92);
}

}  // namespace
}  // namespace lab
