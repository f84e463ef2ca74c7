// The loop check and the admission test over a real database and approval list.

#include "topology/topology_check.h"

#include "tests/root/root_fixture.h"
#include "topology/admission.h"

#include <gmock/gmock.h>
#include <filesystem>

namespace {

using harness::put_file;
using testing::ElementsAre;

constexpr char AP[] = "02:00:00:00:00:aa";
constexpr char NOT_FOUND[] = "backhaul_db_topo_check : can not find ap almac";
constexpr char LOOP[] = "backhaul_db_topo_check : there will be a loop";
constexpr char NULL_ROW[] = "backhaul_db_wifi_loop_check : should not happend";

class TopoCheck : public RootTest {
protected:
    void SetUp() override {
        RootTest::SetUp();
        database_open();
        put_file("/tmp/FirstMAC", "02:00:00:00:00:05\n");
    }
};

TEST_F(TopoCheck, does_not_know_an_ap_without_a_row) {
    link_add("02:00:00:00:00:bb", almac("01"), almac("05"), 1);
    EXPECT_EQ(backhaul_db_topo_check(AP), 0);
    EXPECT_THAT(journal_take(), ElementsAre(NOT_FOUND));
}

TEST_F(TopoCheck, does_not_know_an_ap_whose_owner_is_null_or_empty) {
    sql("INSERT INTO ExtenderWiFiLink VALUES ('02:00:00:00:00:aa',NULL,'x',1);");
    EXPECT_EQ(backhaul_db_topo_check(AP), 0);
    sql("UPDATE ExtenderWiFiLink SET ALMac='';");
    EXPECT_EQ(backhaul_db_topo_check(AP), 0);
    EXPECT_THAT(journal_take(), ElementsAre(NOT_FOUND, NOT_FOUND));
}

TEST_F(TopoCheck, does_not_find_an_ap_in_another_case) {
    link_add("02:00:00:00:00:AA", almac("01"), almac("02"), 1);
    EXPECT_EQ(backhaul_db_topo_check(AP), 0);
}

TEST_F(TopoCheck, finds_no_loop_for_an_ap_of_the_root) {
    link_add(AP, almac("01"), "", 10);
    link_add("02:00:00:00:00:bb", almac("05"), almac("01"), 1);
    EXPECT_EQ(backhaul_db_topo_check(AP), 1);
    EXPECT_THAT(journal_take(), ElementsAre());
}

TEST_F(TopoCheck, finds_no_loop_when_there_are_no_live_links) {
    link_add(AP, almac("01"), almac("05"), 10);
    EXPECT_EQ(backhaul_db_topo_check(AP), 1);
    EXPECT_THAT(journal_take(), ElementsAre());
}

TEST_F(TopoCheck, finds_the_loop_through_this_node) {
    link_add(AP, almac("01"), almac("02"), 1);
    link_add("02:00:00:00:00:bb", almac("02"), almac("03"), 9);
    link_add("02:00:00:00:00:cc", almac("03"), almac("05"), 0);
    EXPECT_EQ(backhaul_db_topo_check(AP), 3);
    EXPECT_THAT(journal_take(), ElementsAre(LOOP));
}

TEST_F(TopoCheck, does_not_walk_over_a_dead_link) {
    link_add(AP, almac("01"), almac("02"), 1);
    link_add("02:00:00:00:00:bb", almac("02"), almac("05"), 10);
    EXPECT_EQ(backhaul_db_topo_check(AP), 1);
    EXPECT_THAT(journal_take(), ElementsAre());
}

TEST_F(TopoCheck, ends_at_a_row_with_a_null_without_a_loop) {
    link_add(AP, almac("01"), almac("02"), 1);
    sql("INSERT INTO ExtenderWiFiLink VALUES ('02:00:00:00:00:bb','02:00:00:00:00:07',NULL,1);");
    link_add("02:00:00:00:00:cc", almac("02"), almac("05"), 1);
    EXPECT_EQ(backhaul_db_topo_check(AP), 1);
    EXPECT_THAT(journal_take(), ElementsAre(NULL_ROW));
}

TEST_F(TopoCheck, does_not_see_a_null_behind_the_row_that_it_needs) {
    link_add(AP, almac("01"), almac("05"), 1);
    sql("INSERT INTO ExtenderWiFiLink VALUES ('02:00:00:00:00:bb',NULL,'x',1);");
    EXPECT_EQ(backhaul_db_topo_check(AP), 3);
    EXPECT_THAT(journal_take(), ElementsAre(LOOP));
}

TEST_F(TopoCheck, never_finds_this_node_without_its_address_file) {
    std::filesystem::remove("/tmp/FirstMAC");
    link_add(AP, almac("01"), almac("05"), 1);
    EXPECT_EQ(backhaul_db_topo_check(AP), 1);
}

TEST_F(TopoCheck, does_not_take_an_empty_parent_for_a_node_without_an_address) {
    std::filesystem::remove("/tmp/FirstMAC");
    link_add(AP, almac("01"), "", 1);
    EXPECT_EQ(backhaul_db_topo_check(AP), 1);
    EXPECT_THAT(journal_take(), ElementsAre());
}

TEST_F(TopoCheck, never_finds_this_node_in_upper_case) {
    put_file("/tmp/FirstMAC", "02:00:00:00:00:AB\n");
    link_add(AP, almac("01"), "02:00:00:00:00:AB", 1);
    EXPECT_EQ(backhaul_db_topo_check(AP), 1) << "the own address is in lower case";
    sql("UPDATE ExtenderWiFiLink SET AP_ALMac='02:00:00:00:00:ab';");
    EXPECT_EQ(backhaul_db_topo_check(AP), 3);
}

TEST_F(TopoCheck, cuts_an_owner_that_is_too_long_without_harm) {
    sql("INSERT INTO ExtenderWiFiLink VALUES ('02:00:00:00:00:aa','" + std::string(300, 'o') +
        "','02:00:00:00:00:05',1);");
    EXPECT_EQ(backhaul_db_topo_check(AP), 1);
}

class Admission : public RootTest {
protected:
    void SetUp() override {
        RootTest::SetUp();
        database_open();
        device_add(almac("0a"), "1", "0", "Attic", "192.168.1.20");
        device_add("02:00:00:00:00:0B", "1", "0", "Barn", "192.168.1.21");
    }
    static void list_is(const std::string& text) {
        put_file("/tmp/ApplicationData/Approvelist", text);
    }
};

TEST_F(Admission, is_granted_for_a_flag_other_than_zero) {
    for (const char* const flag : {"1", "2", "255"}) {
        list_is("02:00:00:00:00:0A " + std::string(flag) + " MRX70\n");
        EXPECT_TRUE(backhaul_db_device_valid_check("192.168.1.20")) << flag;
    }
}

TEST_F(Admission, is_refused_for_a_flag_of_zero) {
    list_is("02:00:00:00:00:0a 0 MRX70\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
    list_is("02:00:00:00:00:0a 256 MRX70\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20")) << "one byte";
}

TEST_F(Admission, is_refused_for_an_unknown_address) {
    list_is("02:00:00:00:00:0a 1 MRX70\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.99"));
    EXPECT_FALSE(backhaul_db_device_valid_check(""));
}

TEST_F(Admission, is_refused_for_a_device_without_an_al_mac) {
    sql("UPDATE Device SET ALMac=NULL;");
    list_is("02:00:00:00:00:0a 1 MRX70\n00:00:00:00:00:00 1 MRX70\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
    sql("UPDATE Device SET ALMac='';");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, is_refused_for_an_al_mac_of_300_characters) {
    list_is("02:00:00:00:00:0a 1 MRX70\n");
    sql("UPDATE Device SET ALMac='02:00:00:00:00:0a" + std::string(283, 'z') + "';");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, is_refused_without_a_list) {
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
    list_is("");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, is_refused_when_the_list_is_a_directory) {
    std::filesystem::create_directories("/tmp/ApplicationData/Approvelist");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, is_refused_for_a_device_that_is_not_in_the_list) {
    list_is("02:00:00:00:00:01 1 MRX70\n02:00:00:00:00:02 1 MRX70\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, is_decided_by_the_first_line_that_fits) {
    list_is("02:00:00:00:00:01 1 x\n02:00:00:00:00:0a 0 x\n02:00:00:00:00:0a 1 x\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
    list_is("02:00:00:00:00:0a 1 x\n02:00:00:00:00:0a 0 x\n");
    EXPECT_TRUE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, takes_the_previous_flag_for_one_that_does_not_parse) {
    list_is("02:00:00:00:00:01 1 x\n02:00:00:00:00:0a yes x\n");
    EXPECT_TRUE(backhaul_db_device_valid_check("192.168.1.20"));
    list_is("02:00:00:00:00:01 0 x\n02:00:00:00:00:0a yes x\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
    list_is("02:00:00:00:00:0a yes x\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20")) << "starts at 0";
}

TEST_F(Admission, is_refused_for_an_al_mac_in_upper_case) {
    list_is("02:00:00:00:00:0B 1 x\n02:00:00:00:00:0b 1 x\n");
    EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.21"));
}

TEST_F(Admission, reads_a_long_line_in_pieces_of_63_characters) {
    // The second piece begins with an address of its own.
    list_is("02:00:00:00:00:01 0 " + std::string(43, 'x') + "02:00:00:00:00:0a 1 x\n");
    EXPECT_TRUE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, needs_no_line_end_behind_the_last_line) {
    list_is("02:00:00:00:00:0a 1");
    EXPECT_TRUE(backhaul_db_device_valid_check("192.168.1.20"));
}

TEST_F(Admission, runs_no_line_and_logs_nothing) {
    list_is("02:00:00:00:00:0a 1 x\n");
    backhaul_db_device_valid_check("192.168.1.20");
    backhaul_db_device_valid_check("192.168.1.21");
    EXPECT_THAT(journal_take(), ElementsAre());
}

}  // namespace
