#include "tests/harness/refusal.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace harness {
namespace {

constexpr sock_filter ALLOW = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
constexpr sock_filter LOAD_NUMBER = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
// The half of the first argument that holds clone's flags.
constexpr sock_filter LOAD_FLAGS =
    BPF_STMT(BPF_LD | BPF_W | BPF_ABS,
             offsetof(seccomp_data, args) + (__BYTE_ORDER == __BIG_ENDIAN ? 4 : 0));

// Jumps: so many instructions on when it holds, and when it does not.
constexpr sock_filter if_call(unsigned number, unsigned char yes, unsigned char no) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, yes, no);
}
constexpr sock_filter if_flags(unsigned flags, unsigned char yes, unsigned char no) {
    return BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, flags, yes, no);
}
constexpr sock_filter refuse_with(unsigned error) {
    return BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error);
}

template <size_t Size>
void filter_install(std::array<sock_filter, Size> program) {
    const sock_fprog whole{Size, program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &whole) != 0) {
        perror("no seccomp");
        abort();
    }
}

}  // namespace

void threads_refuse() {
    // The C library asks with clone, whose flags can be looked at, where there is no clone3.
    filter_install(std::array{LOAD_NUMBER, if_call(SYS_clone3, 0, 1), refuse_with(ENOSYS),
                              if_call(SYS_clone, 0, 3), LOAD_FLAGS, if_flags(CLONE_THREAD, 0, 1),
                              refuse_with(EAGAIN), ALLOW});
}

void forks_refuse() {
    filter_install(std::array{LOAD_NUMBER, if_call(SYS_clone, 0, 2), LOAD_FLAGS,
                              if_flags(CLONE_VM, 0, 1), ALLOW, refuse_with(EAGAIN)});
}

void binds_refuse() {
    filter_install(std::array{LOAD_NUMBER, if_call(SYS_bind, 0, 1), refuse_with(EACCES), ALLOW});
}

DescriptorsRefused::DescriptorsRefused() {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit none{0, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
}

DescriptorsRefused::~DescriptorsRefused() {
    setrlimit(RLIMIT_NOFILE, &before_);
}

}  // namespace harness
