#include "tests/mesh/mesh_story.h"

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
    ASSERT_EQ(neighbour.send(router().node().ip(), port, bytes), 0);
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
