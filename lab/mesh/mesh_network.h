// The wires of a mesh: which nodes' frames reach which other nodes.
//
// Every node has a switch of its own in the outer sandbox, a bridge to which its "br-lan" leads
// over a veth pair. A link of the air or a cable is one more veth pair between two switches: its
// upper end is a port of the upper switch only while frames pass. Switches learn no addresses
// (every frame goes everywhere), so a link that moves needs nothing but to be plugged elsewhere.
//
// A link that closes a loop is held open, for a single broadcast would circle in it for ever and
// leave the machine no time for anything else. It counts as one that carries frames, and loop_shut
// closes it for a moment, in which a marked frame shows that the loop is real.
//
// A link carries frames while the air says that it is there and the node's hybrid-networking daemon
// has not cut the station off. Used on the thread that owns the mesh. A function that
// answers false has put one sentence into `error`.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace lab {

class MeshNetwork {
public:
    MeshNetwork() = default;
    // Takes all wires and switches away again.
    ~MeshNetwork();
    MeshNetwork(const MeshNetwork&) = delete;
    MeshNetwork& operator=(const MeshNetwork&) = delete;

    // Makes the switch of a node, which has to exist before the node does.
    bool switch_make(int node, std::string& error);
    static std::string switch_name(int node);

    // The switch's end of the cable to the node's "br-lan".
    void node_port_set(int node, const std::string& port);

    // The air's word: the link of this station (or "eth") is there, up to the node `peer`, or not.
    bool link_up(int node, const std::string& interface, int peer, std::string& error);
    bool link_down(int node, const std::string& interface, std::string& error);

    // The word of the node's hybrid-networking daemon, and a new one that has said nothing yet.
    bool broadcast_set(int node, const std::string& interface, bool enabled, std::string& error);
    bool broadcast_reset(int node, std::string& error);

    // Frames from and to the node itself pass or are lost; what others send through it passes.
    bool messages_set(int node, bool pass, std::string& error);

    // Frames pass over this link now, or would if it did not close a loop.
    bool carries(int node, const std::string& interface) const;

    // Number of times that a link was plugged, pulled or held open.
    int changes() const {
        return changes_;
    }

    // A node whose link closes a loop, -1: there is none.
    int loop_at() const;

    // Shuts and opens the loops for a moment. Only while all nodes are quiet.
    bool loop_shut(std::string& error);
    bool loop_open(std::string& error);

private:
    using Key = std::pair<int, std::string>;  // node, interface

    struct Wire {
        std::string lower;  // at the node's switch
        std::string upper;
        int peer = -1;        // -1: the air knows no link
        int plugged_to = -1;  // whose switch the upper end is a port of
        bool held = false;    // it would close a loop
    };

    bool settle(const Key& key, std::string& error);
    bool settle_held(std::string& error);
    bool connected(int one, int other) const;
    bool closes_loop(const Key& key, const Wire& wire) const;
    bool wire_make(int node, Wire* wire, std::string& error);
    bool plug(Wire* wire, int peer, std::string& error);

    std::map<Key, Wire> wires_;
    std::set<Key> cut_off_;
    std::map<int, std::string> node_ports_;
    std::set<int> switches_;
    int made_ = 0;
    int changes_ = 0;
};

}  // namespace lab
