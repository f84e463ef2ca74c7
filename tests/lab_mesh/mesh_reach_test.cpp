// Who gets through to a root: by what the air says and by what really carries frames.
#include "lab/mesh/mesh_reach.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/mesh/mesh_network.h"
#include "tests/harness/sandbox.h"

namespace {

using testing::ElementsAre;

class MeshReach : public harness::SandboxTest {
protected:
    // The first of them is the root.
    void make(int count) {
        air.ssid = "mesh";
        air.key = "secret";
        air.nodes.resize(lab::air_index(count));
        air.signals.assign(lab::air_index(count * count), {-55, -55, -55});
        for (int node = 0; node < count; ++node) {
            lab::AirNode& made = air.nodes[lab::air_index(node)];
            made.powered = true;
            made.is_root = node == 0;
            lab::AirStation station;
            station.interface = "ath0";
            station.band = lab::AirBand::five_high;
            made.stations = {station};
            lab::AirAp ap;
            ap.band = lab::AirBand::five_high;
            ap.is_backhaul = true;
            ap.on_air = true;
            ap.bssid = "ap of " + std::to_string(node);
            ap.ssid = air.ssid;
            ap.key = air.key;
            made.aps = {ap};
            ASSERT_TRUE(network.switch_make(node, error)) << error;
        }
    }

    void join(int node, int above) {
        air.nodes[lab::air_index(node)].stations[0].ap_node = above;
        ASSERT_TRUE(network.link_up(node, "ath0", above, error)) << error;
    }

    void lay_cable(int node, int above) {
        lab::AirCable cable;
        cable.from = node;
        cable.to = above;
        cable.forwarding = true;
        air.cables.push_back(cable);
        ASSERT_TRUE(network.link_up(node, "eth", above, error)) << error;
    }

    std::vector<bool> reaches() const {
        return lab::mesh_reach(air, network).reaches;
    }

    lab::ObservedStation station_of(int node) const {
        return lab::mesh_stations(air, lab::mesh_reach(air, network), {}, node).at(0);
    }

    std::string error;
    lab::Air air;
    lab::MeshNetwork network;
};

TEST_F(MeshReach, goes_up_from_node_to_node) {
    make(4);
    join(1, 0);
    lay_cable(2, 1);
    EXPECT_THAT(reaches(), ElementsAre(true, true, true, false));
    EXPECT_THAT(lab::mesh_reach(air, network).above, ElementsAre(-1, 0, 1, -1));
}

TEST_F(MeshReach, ends_nowhere_for_two_that_hang_below_each_other) {
    make(4);
    join(1, 2);
    join(2, 1);
    lay_cable(3, 2);
    EXPECT_THAT(reaches(), ElementsAre(true, false, false, false));
    EXPECT_THAT(lab::mesh_reach(air, network).above, ElementsAre(-1, 2, 1, 2));
}

TEST_F(MeshReach, needs_a_root_with_power_and_links_that_carry_frames) {
    make(3);
    join(1, 0);
    join(2, 1);
    ASSERT_TRUE(network.broadcast_set(2, "ath0", false, error)) << error;
    EXPECT_THAT(reaches(), ElementsAre(true, true, false));
    air.nodes[0].powered = false;
    EXPECT_THAT(reaches(), ElementsAre(false, false, false));
}

TEST_F(MeshReach, is_heard_by_a_station_that_may_join_somebody_who_has_it_without_its_node) {
    make(3);
    join(1, 0);
    join(2, 1);
    EXPECT_TRUE(station_of(2).hears_root);
    // Of the two that are left one is without a way, and the other's goes through the listener.
    air.nodes[0].aps[0].on_air = false;
    EXPECT_TRUE(station_of(2).hears_root);
    EXPECT_FALSE(station_of(1).hears_root);
    air.signals.assign(9, {lab::SIGNAL_USABLE - 1, lab::SIGNAL_USABLE - 1, -55});
    EXPECT_FALSE(station_of(2).hears_root);
}

TEST_F(MeshReach, is_told_apart_from_the_ap_that_a_station_was_told_to_join) {
    make(3);
    join(1, 0);
    air.nodes[2].stations[0].wanted_bssid = "ap of 1";
    EXPECT_TRUE(station_of(2).hears_wanted);
    air.nodes[1].aps[0].on_air = false;
    EXPECT_TRUE(station_of(2).hears_root);
    EXPECT_FALSE(station_of(2).hears_wanted);
    EXPECT_TRUE(lab::mesh_stations(air, lab::mesh_reach(air, network), {"ath0"}, 2).empty());
}

}  // namespace
