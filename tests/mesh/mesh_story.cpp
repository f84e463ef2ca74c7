#include "tests/mesh/mesh_story.h"

Lines received(const std::string& word, const std::string& from) {
    return {"backhaul_notification_recv : recv " + word + " from " + from};
}

void MeshStory::start_with_scans_used_up(Where where) {
    start_ready_extender({}, true, where);
    advance(7 * 64, where);
    expect_log({"...", "interface_timeout_chk : do uplink scan 5", "..."}, where);
    skip();
    advance(130, where);
    for (const std::string& line : router().new_log()) {
        harness::fail_if(line.find("uplink scan") != std::string::npos, line, where);
    }
    skip();
}

void MeshStory::expect_scans_anew(Where where) {
    skip();
    advance(66, where);
    expect_log(
        {"interface_timeout_chk : do other band scan", "interface_timeout_chk : do uplink scan 0",
         "device_backhaul_ap_ul_rate_update : ul_rate 300"},
        where);
}

void MeshStory::command(const std::string& bytes) {
    command(router(), bytes);
}

void MeshStory::command(harness::Router& to, const std::string& bytes) {
    to.command(bytes);
    settle();
}

void MeshStory::datagram(const std::string& bytes, std::uint16_t port, const std::string& from) {
    lab::UdpPeer neighbour(0, from);
    ASSERT_TRUE(neighbour.ok()) << from;
    ASSERT_TRUE(neighbour.send(router().node().ip(), port, bytes));
    settle();
}

std::string MeshStory::second_neighbour() {
    // The switch belongs to the whole test program: its second address is given once.
    static const std::string refused = [] {
        std::string error;
        lab::switch_address_add("192.168.1.2/24", error);
        return error;
    }();
    EXPECT_EQ(refused, "");
    return "192.168.1.2";
}

void MeshStory::run_inside(harness::Router& in, const std::vector<std::string>& words,
                           Where where) {
    lab::SpawnPlan plan;
    plan.words = words;
    plan.moved_clock = false;
    std::string error;
    const int status = in.node().run(plan, error);
    if (status != 0) {
        harness::fail_at(where, words.front(), " ended with ", status, " ", error);
    }
    settle(where);
}
