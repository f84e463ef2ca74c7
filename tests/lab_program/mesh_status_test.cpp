// The status of a mesh as table and JSON, and the doctor's numbers.
#include "lab/report/mesh_status.h"

#include <gtest/gtest.h>

#include <set>

#include "lab/report/name_order.h"
#include "lab/sandbox/doctor_report.h"
#include "lab/sandbox/limits.h"

namespace lab {
namespace {

NodeStatus ready_node() {
    NodeStatus node;
    node.name = "e1";
    node.power = NodePower::on;
    node.role = "extender";
    node.uplink = "ath0";
    node.parent = "root";
    node.hops = 1;
    node.links = {{"ath0", 7, "BACKHAUL_READY", 63, 2, false, true},
                  {"ath1", 6, "CONNECT_PENDING", 400, 3, true, false},
                  {"eth", 13, "ETH_BACKHAUL_DOWN", 500, 0, false, false}};
    node.service_aps_up = 3;
    node.service_aps = 3;
    node.led = "BackhaulFinish";
    node.root_address = "192.168.1.1";
    node.status_text = "ready";
    return node;
}

TEST(StatusTable, shows_a_row_a_node) {
    MeshStatus status;
    NodeStatus lost = ready_node();
    lost.name = "e2";
    lost.uplink = "none";
    lost.parent = "";
    lost.hops = -1;
    lost.links = {{"ath0", 3, "CONNECTING_BACKHAUL_AP", 5, 1, false, false}};
    lost.service_aps_up = 0;
    lost.status_text = "not ready";
    lost.led = "";
    lost.root_address = "";
    lost.outage = 65;
    NodeStatus off;
    off.name = "e3";
    status.nodes = {ready_node(), lost, off};
    EXPECT_EQ(
        table_text(status_table(status), false),
        "NODE  ROLE      STATUS      OUT  UPLINK       HOPS  STATE                         FOR  "
        "LOSSES  PARKED  APS  LED             ROOT\n"
        "e1    extender  ready         -  ath0 > root     1  ath0 BACKHAUL_READY          1:03  "
        "     5  ath1    3/3  BackhaulFinish  192.168.1.1\n"
        "e2    extender  not ready  1:05  none            -  ath0 CONNECTING_BACKHAUL_AP  0:05  "
        "     1  -       0/3  -               -\n"
        "e3    off\n");
}

TEST(StatusTable, cannot_be_broken_by_what_a_node_wrote) {
    MeshStatus status;
    status.nodes = {ready_node()};
    status.nodes[0].root_address = "1.1.1.1\n\033[2J";
    const std::string text = table_text(status_table(status), false);
    EXPECT_NE(text.find("1.1.1.1??[2J"), std::string::npos) << text;
}

TEST(NodeTable, shows_a_row_an_interface) {
    EXPECT_EQ(table_text(node_table(ready_node()), false),
              "INTERFACE  STATE               FOR  LOSSES\n"
              "ath0       BACKHAUL_READY     1:03       2  carries traffic\n"
              "ath1       CONNECT_PENDING    6:40       3  parked\n"
              "eth        ETH_BACKHAUL_DOWN  8:20       0\n");
}

TEST(MainLink, is_what_carries_else_what_is_on_its_way_else_what_rests) {
    NodeStatus node = ready_node();
    node.links[0].carries = false;
    node.links[2].carries = true;
    EXPECT_EQ(node_main_link(node)->interface, "eth");
    node.links[2].carries = false;
    EXPECT_EQ(node_main_link(node)->interface, "ath0");
    node.links[0].state = 0;
    node.links[1].state = 3;
    EXPECT_EQ(node_main_link(node)->interface, "ath1");
    node.links[1].state = 6;
    EXPECT_EQ(node_main_link(node)->interface, "ath0");
    for (LinkStatus& link : node.links) {
        link.state = -1;
    }
    EXPECT_EQ(node_main_link(node), nullptr);
}

TEST(StateText, falls_back_to_the_number) {
    EXPECT_EQ(state_text({"ath0", 7, "BACKHAUL_READY", 0, 0, false, false}), "BACKHAUL_READY");
    EXPECT_EQ(state_text({"ath0", 9, "-", 0, 0, false, false}), "state 9");
    EXPECT_EQ(state_text({"ath0", -1, "", 0, 0, false, false}), "-");
}

TEST(Headline, tells_nodes_steps_and_violations) {
    MeshStatus status;
    status.title = "two";
    status.seconds = 751;
    status.nodes = {ready_node(), {}};
    EXPECT_EQ(status_headline(status), "two   12:31   2 nodes, 1 ready   violations 0");
    status.steps = 9;
    status.steps_done = 5;
    status.failed = 1;
    status.violations = 2;
    status.known = 3;
    EXPECT_EQ(status_headline(status),
              "two   12:31   2 nodes, 1 ready   steps 5/9   failed 1   violations 2 (and 3 known)");
}

MeshStatus full_status() {
    MeshStatus status;
    status.title = "one \"node\"";
    status.seconds = 1234567890123;
    status.seed = 4294967295U;
    status.pace = {"20", true, true, "a node\tis busy"};
    status.last_failed = "3: expect x - y";
    status.events = {{"verb", 3, "e1", "deauth e1"}};
    NodeStatus node = ready_node();
    node.power = NodePower::booting;
    node.links.resize(1);
    node.outage = 12;
    node.outages = 2;
    node.outage_list = {{5, 9}, {20, -1}};
    node.has_cable = true;
    status.nodes = {node, {}};
    return status;
}

TEST(StatusJson, tells_everything) {
    MeshStatus status = full_status();
    status.nodes.resize(1);
    EXPECT_EQ(
        json_text(status_json(status)),
        R"({"title":"one \"node\"","seconds":1234567890123,"seed":4294967295,"speed":"20",)"
        R"("paused":true,"hurries":true,"stalled":"a node\tis busy",)"
        R"("steps_done":0,"steps":0,"failed":0,"last_failed":"3: expect x - y",)"
        R"("violations":0,"violations_known":0,"last_violation":"",)"
        R"("events":[{"kind":"verb","seconds":3,"node":"e1","text":"deauth e1"}],)"
        R"("nodes":[{"name":"e1",)"
        R"("power":"booting","role":"extender","is_root":false,"status":"ready","uplink":"ath0",)"
        R"("parent":"root","hops":1,"links":[{"interface":"ath0","state":7,)"
        R"("state_name":"BACKHAUL_READY","seconds":63,"losses":2,"parked":false,"carries":true}],)"
        R"("service_aps_up":3,"service_aps":3,"led":"BackhaulFinish",)"
        R"("root_address":"192.168.1.1","outage_seconds":12,"outages":2,"outage_seconds_all":0,)"
        R"("outage_list":[{"from":5,"to":9},{"from":20,"to":-1}],)"
        R"("worker_pid":0,"cpu_ms":0,"resident_kb":0,"messages_dropped":false,)"
        R"("aps_silenced":false,"has_cable":true}]})");
}

TEST(StatusJson, is_read_as_it_was_written) {
    MeshStatus read;
    std::string error;
    ASSERT_TRUE(status_read(Json::parse(json_text(status_json(full_status()))), read, error))
        << error;
    EXPECT_EQ(status_json(read), status_json(full_status()));
    EXPECT_EQ(read.nodes[0].power, NodePower::booting);
    EXPECT_EQ(read.nodes[0].outage_list[1].to, -1);
}

TEST(StatusJson, leaves_out_what_is_missing_and_refuses_what_is_of_another_kind) {
    MeshStatus read;
    std::string error;
    EXPECT_TRUE(status_read({{"title", "t"}, {"colour", 7}}, read, error)) << error;
    EXPECT_EQ(read.title, "t");
    EXPECT_FALSE(status_read({{"title", 7}}, read, error));
    EXPECT_FALSE(status_read({{"nodes", {{{"links", "none"}}}}}, read, error));
    EXPECT_NE(error, "");
}

TEST(JsonText, is_valid_whatever_a_node_wrote) {
    EXPECT_EQ(json_text({{"a", "\xff\xc3x\xed\xa0\x80\n\x01\xc3\xa4"}}),
              "{\"a\":\"\xEF\xBF\xBD\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
              "\\n\\u0001\xc3\xa4\"}");
}

TEST(JsonText, says_its_version_first) {
    EXPECT_EQ(json_text(json_versioned({{"good", true}})), R"({"version":1,"good":true})");
}

TEST(NameOrder, counts_as_people_do) {
    const std::set<std::string, NameOrder> names = {"root", "e10", "e2",   "e1",  "e02",
                                                    "e",    "r1",  "e1b2", "e1b", "e1b10"};
    EXPECT_EQ(std::vector<std::string>(names.begin(), names.end()),
              (std::vector<std::string>{"e", "e1", "e1b", "e1b2", "e1b10", "e02", "e2", "e10", "r1",
                                        "root"}));
}

TEST(DoctorNodes, follow_from_cores_memory_or_open_files_whichever_is_scarcest) {
    EXPECT_EQ(doctor_nodes(2, 23000, 20000), 32);
    EXPECT_EQ(doctor_nodes(2, 368, 20000), 10);
    EXPECT_EQ(doctor_nodes(2, 23000, 20 * DESCRIPTORS_A_NODE), 20);
    EXPECT_EQ(doctor_nodes(64, 1000000, 20000), MOST_NODES);
    EXPECT_EQ(doctor_nodes(1, 0, 20000), 0);
}

}  // namespace
}  // namespace lab
