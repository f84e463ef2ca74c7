#include "tests/process/call_gate.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include "tests/harness/router.h"
#include "tests/process/call_gate_calls.h"

namespace {

constexpr char PLACE[] = "/run/lab/call_gate";
/// Every file made beside another has this in its name.
constexpr char NEW_MARK[] = ".new";

std::string text_at(pid_t thread, std::uint64_t address) {
    const std::string memory = "/proc/" + std::to_string(thread) + "/mem";
    const int fd = open(memory.c_str(), O_RDONLY | O_CLOEXEC);
    std::array<char, 128> text{};
    const ssize_t got = pread(fd, text.data(), text.size() - 1, static_cast<off_t>(address));
    close(fd);
    return got > 0 ? text.data() : "";
}

std::string file_behind(pid_t thread, std::uint64_t descriptor) {
    const std::string link =
        "/proc/" + std::to_string(thread) + "/fd/" + std::to_string(descriptor);
    std::array<char, 128> path{};
    const ssize_t length = readlink(link.c_str(), path.data(), path.size() - 1);
    return length > 0 ? path.data() : "";
}

GatedCall call_read(const seccomp_notif& asked) {
    const auto thread = static_cast<pid_t>(asked.pid);
    const auto* const row =
        std::find_if(GATED_CALLS.begin(), GATED_CALLS.end(),
                     [&asked](const gated_call_row& one) { return one.number == asked.data.nr; });
    GatedCall call{thread, row != GATED_CALLS.end() ? row->name : "", ""};
    if (call.name == "write") {
        call.new_path = file_behind(thread, asked.data.args[0]);
    } else if (call.name != "process" && row != GATED_CALLS.end()) {
        call.new_path = text_at(thread, asked.data.args[row->path_argument]);
    }
    return call;
}

int listener_take(int connection) {
    char byte = 0;
    iovec one{&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &one;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    int listener = -1;
    if (recvmsg(connection, &message, MSG_CMSG_CLOEXEC) == 1 &&
        CMSG_FIRSTHDR(&message) != nullptr) {
        std::copy_n(CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof listener,
                    reinterpret_cast<unsigned char*>(&listener));
    }
    return listener;
}

/// Waits until `fd` can be read; false when the gate is to end first, or nobody is left behind
/// `fd`.
bool wait_for(int fd, int stop) {
    std::array<pollfd, 2> both = {pollfd{fd, POLLIN, 0}, pollfd{stop, POLLIN, 0}};
    while (poll(both.data(), both.size(), -1) < 0 && errno == EINTR) {
    }
    return both[1].revents == 0 && (both[0].revents & POLLIN) != 0;
}

}  // namespace

CallGate::CallGate(const lab::Node& node)
    : place_(node.at(PLACE)),
      through_({harness::program_bring(node, "call_gate"), PLACE}),
      door_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", place_.c_str());
    EXPECT_EQ(bind(door_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0)
        << place_;
    EXPECT_EQ(listen(door_, 1), 0);
    EXPECT_EQ(pipe2(stop_.data(), O_CLOEXEC), 0);
    thread_ = std::thread([this] { serve(); });
}

CallGate::~CallGate() {
    close(stop_[1]);
    thread_.join();
    close(listener_);
    close(stop_[0]);
    close(door_);
    unlink(place_.c_str());
}

void CallGate::decide(Decision decision) {
    const std::lock_guard lock(mutex_);
    decision_ = std::move(decision);
}

call_verdict CallGate::verdict_of(const GatedCall& call) {
    const std::lock_guard lock(mutex_);
    const bool is_asked =
        call.name == "process" || call.new_path.find(NEW_MARK) != std::string::npos;
    return decision_ && is_asked ? decision_(call) : call_verdict::go;
}

void CallGate::serve() {
    if (!wait_for(door_, stop_[0])) {
        return;
    }
    const int connection = accept4(door_, nullptr, nullptr, SOCK_CLOEXEC);
    listener_ = listener_take(connection);
    close(connection);
    while (wait_for(listener_, stop_[0])) {
        // Before the call is taken: until then the descriptor says that it is there.
        answers_ = true;
        answer();
        answers_ = false;
    }
}

bool CallGate::is_busy() const {
    pollfd asks{listener_, POLLIN, 0};
    return (poll(&asks, 1, 0) == 1 && (asks.revents & POLLIN) != 0) || answers_;
}

void CallGate::answer() {
    seccomp_notif asked{};
    if (ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &asked) != 0) {
        return;  // who asked has gone
    }
    const GatedCall call = call_read(asked);
    seccomp_notif_resp reply{};
    reply.id = asked.id;
    reply.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    switch (verdict_of(call)) {
        case call_verdict::go:
            break;
        case call_verdict::refuse:
            reply.flags = 0;
            reply.error = -EAGAIN;
            break;
        case call_verdict::kill:
            ::kill(call.thread, SIGKILL);
            return;  // it never comes out of its call
    }
    ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &reply);
}
