#include "tests/msg/msg_fixture.h"

#include "lab/sandbox/program.h"
#include "lab/sandbox/sandbox.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"
#include "tests/harness/contract_record.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <thread>

namespace {

/// The neighbour's network namespace, made once in a program.
int neighbour_namespace() {
    static const int fd = [] {
        int opened = -1;
        std::thread([&opened] {
            EXPECT_EQ(unshare(CLONE_NEWNET), 0);
            opened = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        }).join();
        return opened;
    }();
    return fd;
}

/// Runs `action` on a thread that lives in the neighbour's namespace.
void at_neighbour(const std::function<void()>& action) {
    std::thread([&action] {
        EXPECT_EQ(setns(neighbour_namespace(), CLONE_NEWNET), 0);
        action();
    }).join();
}

void ip_run(const std::string& commands) {
    std::string error;
    EXPECT_TRUE(lab::run_program({"ip", "-batch", "-"}, commands, error)) << error;
}

void cable_plug() {
    static bool plugged = false;
    if (plugged) {
        return;
    }
    plugged = true;
    const std::string where =
        "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(neighbour_namespace());
    ip_run("link add cable type veth peer name eth0 netns " + where +
           "\n"
           "link set cable master br-lan\n"
           "link set cable up\n");
    at_neighbour([] {
        ip_run(
            "link set lo up\n"
            "addr add 192.168.1.20/24 brd + dev eth0\n"
            "addr add 192.168.1.21/24 brd + dev eth0\n"
            "link set eth0 up\n");
    });
}

void bridge_restore() {
    ip_run(
        "link set br-lan up\n"
        "addr replace 192.168.1.10/24 brd + dev br-lan\n"
        "route replace default via 192.168.1.1 dev br-lan\n");
}

}  // namespace

socket_script& sockets() {
    static socket_script script;
    return script;
}

extern "C" int __real_socket(int domain, int type, int protocol);
extern "C" int __wrap_socket(int domain, int type, int protocol) {
    if (sockets().pass_sockets > 0) {
        --sockets().pass_sockets;
    } else if (sockets().fail_sockets > 0) {
        --sockets().fail_sockets;
        errno = EMFILE;
        return -1;
    }
    return __real_socket(domain, type, protocol);
}

extern "C" int __real_setsockopt(int fd, int level, int name, const void* value, socklen_t size);
extern "C" int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    sockets().options.push_back({level, name, std::string(static_cast<const char*>(value), size)});
    if (sockets().on_option) {
        sockets().on_option(sockets().options.back());
    }
    if (sockets().fail_options) {
        errno = EPERM;
        return -1;
    }
    return __real_setsockopt(fd, level, name, value, size);
}

void MsgTest::SetUp() {
    harness::TableTest::SetUp();
    cable_plug();
    bridge_restore();
    sockets() = {};
    ssid_is("mesh");
    runtime.backhaul_valid = 1;
    runtime.db = nullptr;
}

void MsgTest::TearDown() {
    sockets() = {};
    bridge_restore();
    harness::TableTest::TearDown();
}

void MsgTest::ssid_is(const std::string& ssid) {
    ASSERT_TRUE(lab::uci_store_set("", "wireless.ath20.ssid", ssid));
}

std::unique_ptr<lab::UdpPeer> MsgTest::neighbour(uint16_t port, const std::string& address) {
    std::unique_ptr<lab::UdpPeer> peer;
    at_neighbour([&] { peer = std::make_unique<lab::UdpPeer>(port, address); });
    EXPECT_TRUE(peer->ok());
    sockets().options.clear();
    return peer;
}

void MsgTest::network(const std::string& commands) {
    ip_run(commands);
}

lab::Datagram heard_by(lab::UdpPeer& peer) {
    std::vector<lab::Datagram> heard;
    EXPECT_TRUE(harness::wait_until([&] {
        heard = peer.take();
        return !heard.empty();
    })) << "nothing was heard";
    EXPECT_EQ(heard.size(), 1u);
    return heard.empty() ? lab::Datagram{} : heard[0];
}

std::string printed_out(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    action();
    return harness::captured_stdout();
}

std::string printed_err(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return harness::captured_stderr();
}
