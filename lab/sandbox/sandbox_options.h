// What a sandbox is to have: values.
#pragma once

#include <string>
#include <vector>

namespace lab {

// The network of a sandbox: a loopback, "br-lan" and one device per radio interface.
struct NetworkPlan {
    bool bridge = true;                       // whether "br-lan" exists at all
    std::string address = "192.168.1.10/24";  // of "br-lan", with its broadcast; empty: none
    std::string gateway = "192.168.1.1";      // of the default route; empty: no default route
    std::vector<std::string> radios;          // athN devices to make, up
    bool switch_bridge = false;               // make "lab-switch" instead: where nodes meet
};

struct SandboxOptions {
    std::string programs;           // folder of lab_tool, lab_sh and liblab_clock.so
    std::string daemon;             // daemon to show as /run/lab/backhaul_monitor; may be empty
    std::vector<std::string> keep;  // folders to read that stay visible under their names
    bool tools = true;              // false: no stand-in tools, no recording shell
    NetworkPlan network;
};

}  // namespace lab
