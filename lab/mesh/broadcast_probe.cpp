#include "lab/mesh/broadcast_probe.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <thread>

namespace lab {
namespace {

constexpr std::uint16_t PROTOCOL = 0x88B5;  // for local experiments
constexpr std::size_t ADDRESS_LENGTH = 6;

struct Frame {
    std::array<char, 8> magic{'l', 'a', 'b', '-', 'm', 'a', 'r', 'k'};
    std::uint32_t mark = 0;
    std::array<char, 48> padding{};  // no frame is shorter
};

// A socket belongs to the network namespace of the thread that opens it, and so do the indices.
int open_there(int init, int* interface) {
    const std::string path = "/proc/" + std::to_string(init) + "/ns/net";
    const int there = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int fd = -1;
    if (there >= 0 && setns(there, CLONE_NEWNET) == 0) {
        *interface = static_cast<int>(if_nametoindex("br-lan"));
        fd = socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, htons(PROTOCOL));
    }
    if (there >= 0) {
        close(there);
    }
    return fd;
}

}  // namespace

BroadcastProbe::~BroadcastProbe() {
    for (const Ear& ear : ears_) {
        if (ear.fd >= 0) {
            close(ear.fd);
        }
    }
}

bool BroadcastProbe::node_add(int init, std::string& error) {
    Ear ear;
    int failure = 0;
    std::thread inside([&] {
        ear.fd = open_there(init, &ear.interface);
        failure = errno;
    });
    inside.join();
    if (ear.fd < 0 || ear.interface == 0) {
        error = std::string("cannot listen on a node's br-lan: ") + strerror(failure);
        return false;
    }
    ears_.push_back(ear);
    return true;
}

std::uint32_t BroadcastProbe::send(int node) {
    // What an earlier mark left in the queues would leave no room for this one.
    counts(mark_);
    seen_.assign(ears_.size(), 0);
    ++mark_;
    sender_ = node;
    const Ear& ear = ears_[static_cast<std::size_t>(node)];
    Frame frame;
    frame.mark = mark_;
    sockaddr_ll to{};
    to.sll_family = AF_PACKET;
    to.sll_protocol = htons(PROTOCOL);
    to.sll_ifindex = ear.interface;
    to.sll_halen = ADDRESS_LENGTH;
    std::memset(to.sll_addr, 0xFF, ADDRESS_LENGTH);
    if (sendto(ear.fd, &frame, sizeof frame, 0, reinterpret_cast<const sockaddr*>(&to),
               sizeof to) == static_cast<ssize_t>(sizeof frame)) {
        seen_[static_cast<std::size_t>(node)] = 1;
    }
    return mark_;
}

std::vector<int> BroadcastProbe::counts(std::uint32_t mark) {
    seen_.resize(ears_.size());
    for (std::size_t node = 0; node < ears_.size(); ++node) {
        Frame frame;
        sockaddr_ll from{};
        socklen_t length = sizeof from;
        // A circling frame never ends: the queue of the socket bounds what is counted.
        for (int taken = 0; taken < 1000; ++taken) {
            const ssize_t got = recvfrom(ears_[node].fd, &frame, sizeof frame, 0,
                                         reinterpret_cast<sockaddr*>(&from), &length);
            if (got < 0) {
                break;
            }
            if (got == static_cast<ssize_t>(sizeof frame) && frame.mark == mark &&
                from.sll_pkttype != PACKET_OUTGOING) {
                ++seen_[node];
            }
        }
    }
    return seen_;
}

}  // namespace lab
