#include "lab/sandbox/network.h"

#include <fcntl.h>
#include <unistd.h>

namespace lab {
namespace {

// Address probing and router solicitations of IPv6 would put packets and link changes of their own
// into every recording.
void disable_ipv6() {
    for (const char* path : {"/proc/sys/net/ipv6/conf/all/disable_ipv6",
                             "/proc/sys/net/ipv6/conf/default/disable_ipv6"}) {
        const int fd = open(path, O_WRONLY | O_CLOEXEC);
        if (fd >= 0) {
            [[maybe_unused]] const ssize_t written = write(fd, "1", 1);
            close(fd);
        }
    }
}

}  // namespace

std::string network_commands(const NetworkPlan& plan) {
    std::string commands = "link set lo up\n";
    const std::string bridge = plan.switch_bridge ? "lab-switch" : "br-lan";
    if (plan.bridge || plan.switch_bridge) {
        commands += "link add " + bridge + " type bridge\n";
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

int network_furnish(const NetworkPlan& plan, std::string& error) {
    disable_ipv6();
    return run_program({"ip", "-batch", "-"}, network_commands(plan), error);
}

}  // namespace lab
