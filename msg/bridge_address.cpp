#include "msg/bridge_address.h"

#include "runtime/descriptor.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr unsigned ADDRESS_PAUSE = 10;

ifreq address_request(const char* ifname) {
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof(request.ifr_name), "%s", ifname);
    request.ifr_addr.sa_family = AF_INET;
    return request;
}

}  // namespace

int get_intf_bcast_address(const char* ifname, sockaddr_in* addr) {
    const Descriptor sock(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!sock) {
        std::perror("socket");
        return -1;
    }
    ifreq request = address_request(ifname);
    int result = ioctl(sock.get(), SIOCGIFBRDADDR, &request);
    if (result < 0) {
        const int error = errno;
        std::perror("ioctl");
        if (error == EADDRNOTAVAIL) {
            // The bridge has no address yet. There is no third try.
            sleep(ADDRESS_PAUSE);
            std::printf("%s : try again\n", __func__);
            std::fflush(stdout);
            result = ioctl(sock.get(), SIOCGIFBRDADDR, &request);
        }
    }
    if (result >= 0) {
        std::memcpy(addr, &request.ifr_broadaddr, sizeof(*addr));
    }
    return result;
}

void get_intf_ip_address(char* text) {
    // The stream socket serves as a handle only.
    const Descriptor sock(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!sock) {
        return;
    }
    ifreq request = address_request(LAN_BRIDGE);
    if (ioctl(sock.get(), SIOCGIFADDR, &request) < 0) {
        return;
    }
    sockaddr_in address{};
    std::memcpy(&address, &request.ifr_addr, sizeof(address));
    const auto found = ip_text_get(address.sin_addr);
    std::memcpy(text, found.data(), found.size());
}

std::array<char, 16> ip_text_get(const in_addr& address) {
    std::array<char, 16> text{};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    return text;
}
