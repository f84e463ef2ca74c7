// Where frames go between the nodes of a mesh, shown by marked broadcasts on real bridges.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "lab/mesh/broadcast_probe.h"
#include "lab/mesh/mesh.h"
#include "lab/mesh/mesh_network.h"
#include "lab/node/node.h"
#include "tests/harness/sandbox.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Gt;

class MeshNetwork : public harness::SandboxTest {
protected:
    void make(int count) {
        for (int index = 0; index < count; ++index) {
            lab::NodeOptions options;
            options.name = "n" + std::to_string(index);
            options.programs = std::string(BACKHAUL_BUILD_DIR) + "/lab";
            options.address = "192.168.1." + std::to_string(10 + index) + "/24";
            options.radios = {};
            options.switch_name = lab::MeshNetwork::switch_name(index);
            ASSERT_TRUE(network.switch_make(index, error)) << error;
            nodes.push_back(lab::Node::make(options, error));
            ASSERT_NE(nodes.back(), nullptr) << error;
            network.node_port_set(index, nodes.back()->switch_port());
            ASSERT_TRUE(probe.node_add(nodes.back()->init(), error)) << error;
        }
    }

    void up(int node, const std::string& interface, int peer) {
        ASSERT_TRUE(network.link_up(node, interface, peer, error)) << error;
    }

    std::vector<int> mark_from(int node) {
        return probe.counts(probe.send(node));
    }

    std::string error;
    std::vector<std::unique_ptr<lab::Node>> nodes;
    lab::MeshNetwork network;
    lab::BroadcastProbe probe;
};

TEST_F(MeshNetwork, is_refused_with_its_limit_when_there_are_too_many_nodes) {
    lab::Scenario scenario;
    scenario.nodes.resize(lab::MOST_NODES + 1);
    EXPECT_EQ(lab::Mesh::make(scenario, {}, error), nullptr);
    EXPECT_EQ(error, "a mesh has at most 250 nodes, not 251");
}

TEST_F(MeshNetwork, carries_a_broadcast_once_to_everybody_in_reach) {
    make(4);
    up(1, "ath0", 0);
    up(2, "ath0", 1);
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1, 1, 0));
    EXPECT_THAT(mark_from(2), ElementsAre(1, 1, 1, 0));
    EXPECT_THAT(mark_from(3), ElementsAre(0, 0, 0, 1));
}

TEST_F(MeshNetwork, takes_a_cable_up_from_both_ends_for_one_cable) {
    make(2);
    up(0, "eth", 1);
    up(1, "eth", 0);
    EXPECT_TRUE(network.carries(0, "eth"));
    EXPECT_TRUE(network.carries(1, "eth"));
    EXPECT_EQ(network.loop_at(), -1);
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1));
    // It carries frames for as long as one of them takes it.
    ASSERT_TRUE(network.link_down(0, "eth", error)) << error;
    EXPECT_FALSE(network.carries(0, "eth"));
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1));
    up(0, "ath0", 1);
    EXPECT_EQ(network.loop_at(), 0);
}

TEST_F(MeshNetwork, carries_nothing_over_a_link_that_is_gone_or_leads_elsewhere_now) {
    make(3);
    up(1, "ath0", 0);
    ASSERT_TRUE(network.link_down(1, "ath0", error)) << error;
    EXPECT_THAT(mark_from(0), ElementsAre(1, 0, 0));
    EXPECT_FALSE(network.carries(1, "ath0"));
    up(1, "ath0", 2);
    EXPECT_THAT(mark_from(1), ElementsAre(0, 1, 1));
    EXPECT_TRUE(network.carries(1, "ath0"));
}

TEST_F(MeshNetwork, holds_a_link_open_that_closes_a_loop_and_shows_the_loop_for_a_moment) {
    make(3);
    up(1, "ath0", 0);
    up(2, "ath0", 1);
    EXPECT_EQ(network.loop_at(), -1);
    up(2, "ath1", 0);
    EXPECT_EQ(network.loop_at(), 2);
    EXPECT_TRUE(network.carries(2, "ath1"));
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1, 1));

    ASSERT_TRUE(network.loop_shut(error)) << error;
    const std::uint32_t mark = probe.send(0);
    ASSERT_TRUE(network.loop_open(error)) << error;
    EXPECT_THAT(probe.counts(mark), Each(Gt(1)));
    // What circled is gone.
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1, 1));
}

TEST_F(MeshNetwork, plugs_a_held_link_when_the_loop_opens_elsewhere) {
    make(3);
    up(1, "ath0", 0);
    up(2, "ath0", 1);
    up(2, "ath1", 0);
    ASSERT_TRUE(network.link_down(2, "ath0", error)) << error;
    EXPECT_EQ(network.loop_at(), -1);
    EXPECT_FALSE(network.carries(2, "ath0"));
    EXPECT_THAT(mark_from(2), ElementsAre(1, 1, 1));
    ASSERT_TRUE(network.link_down(2, "ath1", error)) << error;
    EXPECT_THAT(mark_from(2), ElementsAre(0, 0, 1));
}

TEST_F(MeshNetwork, forgets_a_held_link_that_goes_away) {
    make(2);
    up(1, "ath0", 0);
    up(1, "ath1", 0);
    EXPECT_EQ(network.loop_at(), 1);
    ASSERT_TRUE(network.broadcast_set(1, "ath1", false, error)) << error;
    EXPECT_EQ(network.loop_at(), -1);
    EXPECT_FALSE(network.carries(1, "ath1"));
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1));
}

TEST_F(MeshNetwork, leaves_a_station_out_while_its_broadcasts_are_disabled) {
    make(2);
    ASSERT_TRUE(network.broadcast_set(1, "ath0", false, error)) << error;
    up(1, "ath0", 0);
    EXPECT_THAT(mark_from(0), ElementsAre(1, 0));
    ASSERT_TRUE(network.broadcast_set(1, "ath0", true, error)) << error;
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1));
    ASSERT_TRUE(network.broadcast_set(1, "ath0", false, error)) << error;
    EXPECT_THAT(mark_from(0), ElementsAre(1, 0));
    ASSERT_TRUE(network.broadcast_reset(1, error)) << error;
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1));
}

TEST_F(MeshNetwork, loses_a_nodes_own_frames_and_passes_those_of_others) {
    make(3);
    up(1, "ath0", 0);
    up(2, "ath0", 1);
    ASSERT_TRUE(network.messages_set(1, false, error)) << error;
    EXPECT_THAT(mark_from(0), ElementsAre(1, 0, 1));
    EXPECT_THAT(mark_from(1), ElementsAre(0, 1, 0));
    ASSERT_TRUE(network.messages_set(1, true, error)) << error;
    EXPECT_THAT(mark_from(0), ElementsAre(1, 1, 1));
}

}  // namespace
