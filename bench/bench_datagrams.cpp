// What a node message costs the socket thread, from somebody who knows the pass phrase and from
// somebody who does not: for so long nothing else is handled. In a sandbox, with the stand-in tools
// and the real openssl.
//
// Floor of the same run: two empty shell lines, as many as a datagram needs to be deciphered.

#include "intake/msg_receive.h"
#include "intake/msg_socket.h"
#include "lab/node/udp_peer.h"
#include "lab/sandbox/sandbox.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace {

constexpr int ROUNDS = 200;
constexpr uint16_t PORT = 36003;

double milliseconds_each(const std::function<void()>& action) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    for (int round = 0; round < ROUNDS; ++round) {
        action();
    }
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count() / ROUNDS;
}

bool datagram_send(int sock, const std::string& bytes) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(PORT);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return sendto(sock, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == static_cast<ssize_t>(bytes.size());
}

bool measure(std::string& error) {
    const std::string sealed = lab::message_seal("HELLO", "mesh");
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    msg_socket_open();
    if (sealed.empty() || !lab::uci_store_set("", "wireless.ath20.ssid", "mesh") || sock < 0 ||
        runtime.msg_fd < 0) {
        error = "the sandbox lacks what a datagram needs";
        return false;
    }
    int failed = 0;
    const double floor =
        milliseconds_each([&failed] { failed += std::system(":") + std::system(":"); });
    for (const bool has_key : {true, false}) {
        const double cost = milliseconds_each([&] {
            failed += datagram_send(sock, has_key ? sealed : "x") ? 0 : 1;
            backhaul_notification_recv(runtime.msg_fd);
        });
        std::printf("a datagram %s the key: %.2f ms; two empty shell lines: %.2f ms, ratio %.2f\n",
                    has_key ? "with" : "without", cost, floor, cost / floor);
    }
    error = "lines or datagrams failed";
    return failed == 0;
}

}  // namespace

int main() {
    lab::SandboxOptions options;
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    options.keep = {BACKHAUL_BUILD_DIR};
    std::string error;
    // What openssl says about each datagram is no result.
    if (!lab::sandbox_enter(options, error) || std::freopen("/dev/null", "w", stderr) == nullptr ||
        !measure(error)) {
        std::printf("bench_datagrams: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
