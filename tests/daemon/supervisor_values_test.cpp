// What a wait status means to the supervisor.

#include <gtest/gtest.h>

#include <csignal>

#include "daemon/supervisor.h"

namespace {

// Wait statuses as the kernel encodes them: exit status in bits 8-15, signal in bits 0-6, the
// core-dump mark in bit 7, 0x7f for a stopped process.
constexpr int exited(int status) {
    return status << 8;
}

TEST(WorkerEnd, is_exited_whatever_the_exit_status) {
    for (const int status : {0, 1, 2, 10, 127, 255}) {
        const auto end = worker_end_classify(exited(status));
        EXPECT_EQ(end.kind, worker_end::exited) << status;
        EXPECT_EQ(end.signal, 0) << status;
    }
}

TEST(WorkerEnd, is_a_quiet_restart_for_sigusr1_only) {
    for (int signal = 1; signal <= 64; ++signal) {
        const auto end = worker_end_classify(signal);
        EXPECT_EQ(end.kind, signal == SIGUSR1 ? worker_end::restarted : worker_end::crashed)
            << signal;
        EXPECT_EQ(end.signal, signal);
    }
}

TEST(WorkerEnd, is_a_crash_with_the_same_signal_when_a_core_was_dumped) {
    const auto end = worker_end_classify(SIGSEGV | 0x80);
    EXPECT_EQ(end.kind, worker_end::crashed);
    EXPECT_EQ(end.signal, SIGSEGV);
    EXPECT_EQ(worker_end_classify(SIGUSR1 | 0x80).kind, worker_end::restarted);
}

TEST(WorkerEnd, is_other_when_the_worker_was_only_stopped_or_continued) {
    EXPECT_EQ(worker_end_classify((19 << 8) | 0x7f).kind, worker_end::other);
    EXPECT_EQ(worker_end_classify(0xffff).kind, worker_end::other);
    EXPECT_EQ(worker_end_classify(0xffff).signal, 0);
}

}  // namespace
