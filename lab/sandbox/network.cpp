#include "lab/sandbox/network.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "lab/sandbox/plain_priority.h"
#include "lab/sandbox/program.h"

namespace lab {
namespace {

// Address probing and router solicitations of IPv6 would put packets and link changes of their own
// into every recording. The kernel tries again until nobody holds the lock of all networks, and who
// holds it may be another mesh on this processor.
void disable_ipv6() {
    const PlainPriority patient;
    for (const char* path : {"/proc/sys/net/ipv6/conf/all/disable_ipv6",
                             "/proc/sys/net/ipv6/conf/default/disable_ipv6"}) {
        const int fd = open(path, O_WRONLY | O_CLOEXEC);
        if (fd >= 0) {
            [[maybe_unused]] const ssize_t written = write(fd, "1", 1);
            close(fd);
        }
    }
}

// A hardware address that belongs to the IP address for good: neighbours remember it when the next
// router takes the place of this one. Empty when there is no IP address.
std::string hardware_address(const std::string& address) {
    in_addr ip{};
    if (inet_pton(AF_INET, address.substr(0, address.find('/')).c_str(), &ip) != 1) {
        return "";
    }
    std::array<std::uint8_t, sizeof ip> bytes{};
    std::memcpy(bytes.data(), &ip, bytes.size());
    std::array<char, 24> text{};
    snprintf(text.data(), text.size(), "02:00:%02x:%02x:%02x:%02x", bytes[0], bytes[1], bytes[2],
             bytes[3]);
    return text.data();
}

}  // namespace

std::string network_commands(const NetworkPlan& plan) {
    std::string commands = "link set lo up\n";
    const std::string bridge = plan.switch_bridge ? "lab-switch" : "br-lan";
    if (plan.bridge || plan.switch_bridge) {
        const std::string hardware = hardware_address(plan.address);
        commands += "link add " + bridge + (hardware.empty() ? "" : " address " + hardware) +
                    " type bridge\n";
        if (!plan.address.empty()) {
            commands += "addr add " + plan.address + " brd + dev " + bridge + "\n";
        }
        commands += "link set " + bridge + " up\n";
        if (!plan.gateway.empty()) {
            commands += "route add default via " + plan.gateway + " dev " + bridge + "\n";
        }
    }
    // A bridge is the one device that every kernel can make and that needs no partner.
    for (const std::string& radio : plan.radios) {
        commands += "link add " + radio + " type bridge\n";
        commands += "link set " + radio + " up\n";
    }
    return commands;
}

bool network_furnish(const NetworkPlan& plan, std::string& error) {
    disable_ipv6();
    return run_program({"ip", "-batch", "-"}, network_commands(plan), error);
}

}  // namespace lab
