// call_gate SOCKET PROGRAM [WORD...]: has the kernel ask for the gated system calls of PROGRAM and
// of all that it starts, hands the descriptor on which it asks to who listens at SOCKET, and
// becomes PROGRAM.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "tests/process/call_gate_calls.h"

namespace {

constexpr size_t argument_offset(size_t number) {
    return offsetof(seccomp_data, args) + 8 * number + (__BYTE_ORDER == __BIG_ENDIAN ? 4 : 0);
}

/// Goes `no` instructions further unless the loaded number is that one.
constexpr sock_filter unless(long number, unsigned char no) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, no);
}

constexpr sock_filter load(size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned>(offset));
}

/// Asks, or not, by a bit of an argument.
void ask_by_bit(std::vector<sock_filter>& program, long number, size_t argument, unsigned bit,
                bool if_set) {
    const unsigned char asks = if_set ? 0 : 1;
    program.push_back(unless(number, 4));
    program.push_back(load(argument_offset(argument)));
    program.push_back(
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bit, asks, static_cast<unsigned char>(1 - asks)));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
}

std::vector<sock_filter> filter_make() {
    std::vector<sock_filter> program = {load(offsetof(seccomp_data, nr)), unless(SYS_clone3, 1),
                                        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS)};
    // A new content is made with O_EXCL; threads are none of the test's business.
    ask_by_bit(program, SYS_clone, 0, CLONE_THREAD, false);
    ask_by_bit(program, SYS_openat, 2, O_EXCL, true);
    for (const gated_call_row& row : GATED_CALLS) {
        program.push_back(unless(row.number, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return program;
}

bool hand_over(const char* place, int listener) {
    const int door = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", place);
    char byte = 0;
    iovec one{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &one;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof listener);
    std::memcpy(CMSG_DATA(header), &listener, sizeof listener);
    return connect(door, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           sendmsg(door, &message, 0) == 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    auto program = filter_make();
    const sock_fprog whole{static_cast<unsigned short>(program.size()), program.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    const long listener =
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &whole);
    if (listener < 0 || !hand_over(argv[1], static_cast<int>(listener))) {
        std::perror("call_gate");
        return 1;
    }
    close(static_cast<int>(listener));
    execv(argv[2], argv + 2);
    return 127;
}
