// A stand-in router: private namespaces with the firmware's stand-in tools, "br-lan", radio
// interfaces, its own files and its own moved time, in which an unmodified daemon runs.
//
// Used by process tests and the lab, on one thread, from inside a sandbox of their own (nodes then
// meet on that sandbox's bridge "lab-switch", or on one that they are told, and end with it). A
// node's files are reached from outside below root(). Numbers of processes are the caller's unless
// said otherwise. A function that answers false (or -1 for a pid or an exit code) has put
// one sentence into `error`.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lab/node/spawn.h"
#include "lab/sandbox/sandbox.h"

namespace lab {

// 2023-11-14 22:13:20 UTC: where a node's time starts unless told otherwise.
inline constexpr std::uint32_t NODE_START_TIME = 1'700'000'000;

struct NodeOptions {
    std::string name = "node";                // for messages and evidence
    std::string programs;                     // folder of lab_tool, lab_sh and liblab_clock.so
    std::string daemon;                       // the daemon's program
    std::string address = "192.168.1.20/24";  // of "br-lan"; empty: none
    std::string gateway = "192.168.1.1";      // empty: no default route
    std::vector<std::string> radios = {"ath0", "ath1", "ath10", "ath11", "ath14", "ath20"};
    bool on_switch = true;                   // a cable from "br-lan" to the switch below
    std::string switch_name = "lab-switch";  // bridge in the caller's network
    bool real_time = false;                  // the clock is not moved
    std::uint32_t start_time = NODE_START_TIME;
};

class Node {
public:
    // Makes a node and returns when it is ready; nullptr and `error` when it cannot.
    static std::unique_ptr<Node> make(const NodeOptions& options, std::string& error);
    ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    const NodeOptions& options() const {
        return options_;
    }
    // Process 1 of the node; everything inside ends with it.
    pid_t init() const {
        return init_;
    }
    // Prefix that turns a path inside the node into one for the caller.
    const std::string& root() const {
        return root_;
    }
    std::string at(const std::string& path) const;
    // Address of "br-lan" without its length.
    std::string ip() const;

    // Starts a program inside the node as a child of the caller, who has to wait for it.
    pid_t spawn(const SpawnPlan& plan, std::string& error) const;

    // Runs a program inside the node to its end. Returns its exit code, 128 + signal, or -1.
    int run(const SpawnPlan& plan, std::string& error) const;

    // The end of the node's cable in the caller's network, a port of the switch.
    const std::string& switch_port() const {
        return cable_;
    }

    // Pulls or plugs the cable to "lab-switch"; frames pass or no longer pass on return.
    bool cable(bool plugged, std::string& error) const;

private:
    explicit Node(NodeOptions options);
    bool open_namespaces(std::string& error);
    bool attach_to_switch(std::string& error);
    bool await_ports(char state, std::string& error) const;

    NodeOptions options_;
    pid_t init_ = -1;
    std::string root_;
    std::string cable_;
    std::array<int, 5> namespaces_{-1, -1, -1, -1, -1};  // pid, mnt, net, ipc; its root
    int own_pid_namespace_ = -1;
};

}  // namespace lab
