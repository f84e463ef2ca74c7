#include "lab/node/udp_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "lab/sandbox/program.h"

namespace lab {
namespace {

sockaddr_in place(const std::string& address, std::uint16_t port) {
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(port);
    where.sin_addr.s_addr = address.empty() ? INADDR_ANY : inet_addr(address.c_str());
    return where;
}

// What openssl makes of `input`; empty when it refuses.
std::string through_openssl(const char* way, const std::string& pass_phrase,
                            const std::string& input) {
    std::string output;
    std::string error;
    return program_output({"openssl", "aes-128-cbc", way, "-k", pass_phrase}, input, &output, error)
               ? output
               : std::string();
}

}  // namespace

UdpPeer::UdpPeer(std::uint16_t port, const std::string& address) {
    fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    const sockaddr_in here = place(address, port);
    setsockopt(fd_, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
    setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&here), sizeof(here)) != 0) {
        close(fd_);
        fd_ = -1;
    }
}

UdpPeer::~UdpPeer() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool UdpPeer::send(const std::string& address, std::uint16_t port, const std::string& bytes) {
    const sockaddr_in there = place(address, port);
    const ssize_t put = sendto(fd_, bytes.data(), bytes.size(), 0,
                               reinterpret_cast<const sockaddr*>(&there), sizeof(there));
    return put == static_cast<ssize_t>(bytes.size());
}

std::vector<Datagram> UdpPeer::take() {
    std::vector<Datagram> all;
    std::array<char, 2048> bytes{};
    sockaddr_in from{};
    socklen_t length = sizeof(from);
    ssize_t got = 0;
    while ((got = recvfrom(fd_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from),
                           &length)) >= 0) {
        all.push_back(
            {inet_ntoa(from.sin_addr), std::string(bytes.data(), static_cast<size_t>(got))});
        length = sizeof(from);
    }
    return all;
}

bool switch_address_add(const std::string& address_with_length, std::string& error) {
    return run_program({"ip", "addr", "add", address_with_length, "brd", "+", "dev", "lab-switch"},
                       "", error);
}

std::string message_seal(const std::string& word, const std::string& pass_phrase) {
    return through_openssl("-e", pass_phrase, word);
}

std::string message_open(const std::string& bytes, const std::string& pass_phrase) {
    return through_openssl("-d", pass_phrase, bytes);
}

}  // namespace lab
