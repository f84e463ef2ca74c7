// The loop check over a real database.

#include "topology/topology_check.h"

#include "tests/root/root_fixture.h"

#include <filesystem>

namespace {

using harness::put_file;

constexpr char AP[] = "02:00:00:00:00:aa";
constexpr char NOT_FOUND[] = "backhaul_db_topo_check : can not find ap almac";
constexpr char LOOP[] = "backhaul_db_topo_check : there will be a loop";
constexpr char NULL_ROW[] = "backhaul_db_wifi_loop_check : should not happend";

/// A row of the links as SQL has it: the AP's address, its node, that node's parent, the status.
struct link_row {
    std::string bssid = "'02:00:00:00:00:aa'";
    std::string owner = "'02:00:00:00:00:01'";
    std::string parent;
    int status = 1;
};

std::string node(const char* number) {
    return "'" + almac(number) + "'";
}

class TopoCheck : public RootTest {
protected:
    void SetUp() override {
        RootTest::SetUp();
        database_open();
        put_file("/tmp/FirstMAC", "02:00:00:00:00:05\n");
    }

    /// The answer about AP, "02:00:00:00:00:aa", with these links alone.
    static int with_links(const std::vector<link_row>& rows) {
        std::string statements = "DELETE FROM ExtenderWiFiLink;";
        for (const link_row& row : rows) {
            statements += "INSERT INTO ExtenderWiFiLink VALUES (" + row.bssid + "," + row.owner +
                          "," + row.parent + "," + std::to_string(row.status) + ");";
        }
        sql(statements);
        return backhaul_db_topo_check(AP);
    }
};

constexpr int UNKNOWN = 0;
constexpr int NO_LOOP = 1;
constexpr int A_LOOP = 3;

TEST_F(TopoCheck, follows_the_live_links_from_the_node_of_the_ap) {
    const std::string own = node("05");
    struct row {
        const char* what;
        std::vector<link_row> links;
        int expected;
        Journal journal;
    };
    const row rows[] = {
        {"no row of the AP", {{"'02:00:00:00:00:bb'", node("01"), own}}, UNKNOWN, {NOT_FOUND}},
        {"an owner that is null", {{.owner = "NULL", .parent = "'x'"}}, UNKNOWN, {NOT_FOUND}},
        {"an owner that is empty", {{.owner = "''", .parent = "'x'"}}, UNKNOWN, {NOT_FOUND}},
        {"an AP in another case",
         {{.bssid = "'02:00:00:00:00:AA'", .parent = node("02")}},
         UNKNOWN,
         {NOT_FOUND}},
        {"an AP of the root",
         {{.parent = "''", .status = 10}, {"'02:00:00:00:00:bb'", own, node("01")}},
         NO_LOOP,
         {}},
        {"no live link", {{.parent = own, .status = 10}}, NO_LOOP, {}},
        {"a chain to this node",
         {{.parent = node("02")},
          {"'02:00:00:00:00:bb'", node("02"), node("03"), 9},
          {"'02:00:00:00:00:cc'", node("03"), own, 0}},
         A_LOOP,
         {LOOP}},
        {"a dead link in the chain",
         {{.parent = node("02")}, {"'02:00:00:00:00:bb'", node("02"), own, 10}},
         NO_LOOP,
         {}},
        {"a null in the way",
         {{.parent = node("02")},
          {"'02:00:00:00:00:bb'", node("07"), "NULL"},
          {"'02:00:00:00:00:cc'", node("02"), own}},
         NO_LOOP,
         {NULL_ROW}},
        {"a null behind the row that is needed",
         {{.parent = own}, {"'02:00:00:00:00:bb'", "NULL", "'x'"}},
         A_LOOP,
         {LOOP}},
        {"an owner that is too long",
         {{.owner = "'" + std::string(300, 'o') + "'", .parent = own}},
         NO_LOOP,
         {}},
    };
    for (const row& one : rows) {
        EXPECT_EQ(with_links(one.links), one.expected) << one.what;
        EXPECT_EQ(journal_take(), one.journal) << one.what;
    }
}

TEST_F(TopoCheck, never_finds_this_node_without_its_address_file) {
    std::filesystem::remove("/tmp/FirstMAC");
    EXPECT_EQ(with_links({{.parent = node("05")}}), NO_LOOP);
    EXPECT_EQ(with_links({{.parent = "''"}}), NO_LOOP) << "an empty parent is nobody";
    EXPECT_EQ(journal_take(), Journal{});
}

TEST_F(TopoCheck, never_finds_this_node_in_upper_case) {
    put_file("/tmp/FirstMAC", "02:00:00:00:00:AB\n");
    EXPECT_EQ(with_links({{.parent = node("AB")}}), NO_LOOP) << "the own address is in lower case";
    EXPECT_EQ(with_links({{.parent = node("ab")}}), A_LOOP);
}

}  // namespace
