#include "lab/mesh/mesh_network.h"

#include <unistd.h>

#include <chrono>

#include "lab/sandbox/program.h"
#include "lab/sandbox/sandbox.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

constexpr int NOWHERE = -1;
constexpr std::string_view CABLE = "eth";
constexpr char PORT_FORWARDS = '3';
constexpr std::chrono::seconds PORT_PATIENCE{60};  // the kernel may be busy with other networks
constexpr useconds_t PORT_PAUSE = 100;

bool ip_batch(const std::string& commands, std::string& error) {
    return run_program({"ip", "-batch", "-"}, commands, error);
}

// The kernel opens a port some time after it was added to a bridge.
bool await_open_port(const std::string& port, std::string& error) {
    const std::string path = "/sys/class/net/" + port + "/brport/state";
    const auto end = std::chrono::steady_clock::now() + PORT_PATIENCE;
    std::string state;
    while (!file_read(path, &state) || state.empty() || state[0] != PORT_FORWARDS) {
        if (std::chrono::steady_clock::now() > end) {
            error = "the port " + port + " does not open";
            return false;
        }
        usleep(PORT_PAUSE);
    }
    return true;
}

}  // namespace

MeshNetwork::~MeshNetwork() {
    std::string commands;
    for (const auto& [key, wire] : wires_) {
        commands += wire.lower.empty() ? "" : "link del " + wire.lower + "\n";
    }
    for (const int node : switches_) {
        commands += "link del " + switch_name(node) + "\n";
    }
    std::string nobody_asks;
    ip_batch(commands, nobody_asks);
}

std::string MeshNetwork::switch_name(int node) {
    return "sw" + std::to_string(node);
}

bool MeshNetwork::switch_make(int node, std::string& error) {
    const std::string name = switch_name(node);
    switches_.insert(node);
    // With an ageing time of 0 nothing is learnt. A switch would else send a moved node's frames
    // the old way for minutes of the machine's time, hours of the mesh's.
    return ip_batch("link add name " + name +
                        " type bridge ageing_time 0 mcast_snooping 0\nlink set " + name + " up\n",
                    error);
}

void MeshNetwork::node_port_set(int node, const std::string& port) {
    node_ports_[node] = port;
}

bool MeshNetwork::wire_make(int node, Wire* wire, std::string& error) {
    const std::string name = "w" + std::to_string(made_++);
    wire->lower = name + "l";
    wire->upper = name + "u";
    const std::string commands = "link add name " + wire->lower + " type veth peer name " +
                                 wire->upper + "\nlink set " + wire->lower + " master " +
                                 switch_name(node) + " up\nlink set " + wire->upper + " up\n";
    return ip_batch(commands, error) && await_open_port(wire->lower, error);
}

bool MeshNetwork::plug(Wire* wire, int peer, std::string& error) {
    const std::string where = peer == NOWHERE ? "nomaster" : "master " + switch_name(peer);
    if (!ip_batch("link set " + wire->upper + " " + where + "\n", error)) {
        return false;
    }
    wire->plugged_to = peer;
    return peer == NOWHERE || await_open_port(wire->upper, error);
}

// Frames of one node reach the other over links that are plugged now.
bool MeshNetwork::connected(int one, int other) const {
    std::set<int> reached = {one};
    std::size_t before = 0;
    while (before != reached.size()) {
        before = reached.size();
        for (const auto& [key, wire] : wires_) {
            const bool crosses = wire.plugged_to != NOWHERE &&
                                 reached.contains(key.first) != reached.contains(wire.plugged_to);
            if (crosses) {
                reached.insert(key.first);
                reached.insert(wire.plugged_to);
            }
        }
    }
    return reached.contains(other);
}

bool MeshNetwork::settle(const Key& key, std::string& error) {
    const auto found = wires_.find(key);
    if (found == wires_.end()) {
        return true;
    }
    Wire& wire = found->second;
    const int wanted = cut_off_.contains(key) ? NOWHERE : wire.peer;
    if (wire.plugged_to == wanted && !(wire.held && wanted == NOWHERE)) {
        return true;
    }
    wire.held = false;
    ++changes_;
    if (wire.plugged_to != NOWHERE && !plug(&wire, NOWHERE, error)) {
        return false;
    }
    if (wanted != NOWHERE && connected(key.first, wanted)) {
        wire.held = true;
    } else if (wanted != NOWHERE && !plug(&wire, wanted, error)) {
        return false;
    }
    return settle_held(error);
}

// Links that no longer close a loop, because another one went, carry frames now.
bool MeshNetwork::settle_held(std::string& error) {
    for (auto& [key, wire] : wires_) {
        if (wire.held && !connected(key.first, wire.peer)) {
            wire.held = false;
            ++changes_;
            if (!plug(&wire, wire.peer, error)) {
                return false;
            }
        }
    }
    return true;
}

bool MeshNetwork::link_up(int node, const std::string& interface, int peer, std::string& error) {
    Wire& wire = wires_[{node, interface}];
    if (wire.lower.empty() && !wire_make(node, &wire, error)) {
        return false;
    }
    wire.peer = peer;
    return settle({node, interface}, error);
}

bool MeshNetwork::link_down(int node, const std::string& interface, std::string& error) {
    const auto found = wires_.find({node, interface});
    if (found == wires_.end()) {
        return true;
    }
    found->second.peer = NOWHERE;
    return settle(found->first, error);
}

bool MeshNetwork::broadcast_set(int node, const std::string& interface, bool enabled,
                                std::string& error) {
    if (enabled) {
        cut_off_.erase({node, interface});
    } else {
        cut_off_.insert({node, interface});
    }
    return settle({node, interface}, error);
}

bool MeshNetwork::broadcast_reset(int node, std::string& error) {
    std::erase_if(cut_off_, [node](const Key& key) { return key.first == node; });
    for (const auto& [key, wire] : wires_) {
        if (key.first == node && !settle(key, error)) {
            return false;
        }
    }
    return true;
}

bool MeshNetwork::messages_set(int node, bool pass, std::string& error) {
    const std::string& port = node_ports_[node];
    const std::string where = pass ? "master " + switch_name(node) : "nomaster";
    if (!ip_batch("link set " + port + " " + where + "\n", error)) {
        return false;
    }
    return !pass || await_open_port(port, error);
}

bool MeshNetwork::carries(int node, const std::string& interface) const {
    const auto found = wires_.find({node, interface});
    return found != wires_.end() && (found->second.plugged_to != NOWHERE || found->second.held);
}

// A cable that both its nodes take for their way up is one cable all the same.
bool MeshNetwork::closes_loop(const Key& key, const Wire& wire) const {
    const auto other_end = wires_.find({wire.peer, key.second});
    const bool is_same_cable = key.second == CABLE && other_end != wires_.end() &&
                               other_end->second.plugged_to == key.first;
    return wire.held && !is_same_cable;
}

int MeshNetwork::loop_at() const {
    for (const auto& [key, wire] : wires_) {
        if (closes_loop(key, wire)) {
            return key.first;
        }
    }
    return NOWHERE;
}

bool MeshNetwork::loop_shut(std::string& error) {
    for (auto& [key, wire] : wires_) {
        if (closes_loop(key, wire) && !plug(&wire, wire.peer, error)) {
            return false;
        }
    }
    return true;
}

bool MeshNetwork::loop_open(std::string& error) {
    for (auto& [key, wire] : wires_) {
        if (wire.held && !plug(&wire, NOWHERE, error)) {
            return false;
        }
    }
    return true;
}

}  // namespace lab
