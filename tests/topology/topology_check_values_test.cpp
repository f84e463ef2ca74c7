// The walk up the live links, over tables as SQLite hands them out.

#include "topology/topology_check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct link_row {
    std::string lower;
    std::string upper;
};
using links = std::vector<link_row>;

/// A result table: a row of column names, then two texts a row.
class Table {
public:
    explicit Table(const links& rows) : texts_{"ALMac", "AP_ALMac"} {
        for (const link_row& row : rows) {
            texts_.push_back(row.lower);
            texts_.push_back(row.upper);
        }
        for (std::string& text : texts_) {
            cells_.push_back(text.data());
        }
    }
    char** raw() {
        return cells_.data();
    }
    int rows() const {
        return static_cast<int>(texts_.size() / 2) - 1;
    }

private:
    std::vector<std::string> texts_;
    std::vector<char*> cells_;
};

struct step_result {
    int result;
    std::string parent;
};

step_result step(const links& rows, const char* almac) {
    Table table(rows);
    const char* parent = "unchanged";
    const int result = backhaul_db_wifi_loop_check(almac, &parent, table.raw(), table.rows());
    return {result, parent};
}

int walk(const links& rows, const char* ap, const char* own) {
    Table table(rows);
    return topo_walk(ap, own, table.raw(), table.rows());
}

TEST(WalkStep, finds_the_parent_of_the_first_row_that_fits) {
    const step_result found = step({{"a", "b"}, {"c", "d"}, {"c", "e"}}, "c");
    EXPECT_EQ(found.result, 2);
    EXPECT_EQ(found.parent, "d");
}

TEST(WalkStep, ends_at_a_node_without_a_row) {
    const step_result found = step({{"a", "b"}, {"c", "d"}}, "b");
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.parent, "unchanged");
    EXPECT_EQ(step({}, "b").result, 1);
}

TEST(WalkStep, never_takes_the_column_names_for_a_row) {
    EXPECT_EQ(step({{"a", "b"}, {"c", "d"}}, "ALMac").result, 1);
}

TEST(WalkStep, compares_the_whole_address_and_its_case) {
    const step_result found =
        step({{"02:aa", "x"}, {"02:AA:01", "y"}, {"02:aa:01", "z"}}, "02:aa:01");
    EXPECT_EQ(found.result, 2);
    EXPECT_EQ(found.parent, "z");
}

TEST(Walk, finds_no_loop_when_the_ap_has_no_live_uplink) {
    EXPECT_EQ(walk({{"me", "ap"}, {"x", "y"}}, "ap", "me"), 1);
}

TEST(Walk, finds_no_loop_when_the_chain_ends_at_the_root) {
    EXPECT_EQ(walk({{"ap", "m1"}, {"m1", "m2"}, {"m2", "root"}}, "ap", "me"), 1);
}

TEST(Walk, finds_the_loop_when_the_chain_comes_back_to_this_node) {
    EXPECT_EQ(walk({{"ap", "me"}}, "ap", "me"), 3);
    EXPECT_EQ(walk({{"ap", "m"}}, "ap", "m"), 3);
    EXPECT_EQ(walk({{"m1", "me"}, {"ap", "m1"}, {"me", "root"}}, "ap", "me"), 3);
}

TEST(Walk, does_not_take_the_start_for_a_loop) {
    EXPECT_EQ(walk({{"me", "root"}}, "me", "me"), 1) << "only parents count";
}

TEST(Walk, finds_no_loop_for_a_node_without_an_address) {
    EXPECT_EQ(walk({{"ap", "m1"}, {"m1", "root"}}, "ap", ""), 1);
}

TEST(Walk, has_no_step_limit) {
    links chain;
    for (int i = 0; i < 5000; ++i) {
        chain.push_back({"n" + std::to_string(i), "n" + std::to_string(i + 1)});
    }
    EXPECT_EQ(walk(chain, "n0", "me"), 1);
    chain.push_back({"n5000", "me"});
    EXPECT_EQ(walk(chain, "n0", "me"), 3);
}

}  // namespace
