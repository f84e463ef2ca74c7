#include "daemon/supervisor.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

namespace {

/// A worker that outlived its supervisor would keep both ports and lose its FIFO to the next one.
void supervisor_tie(pid_t supervisor) {
    // The one signal that no starter can have had ignored. Files are renamed into place and tools
    // are not tied to us: nothing is left half done.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Already gone: the signal would never come.
    if (getppid() != supervisor) {
        _exit(EXIT_SUCCESS);
    }
}

[[noreturn]] void worker_child_run(pid_t supervisor, void (*worker)()) {
    supervisor_tie(supervisor);
    // The supervisor's own count came along with the fork; a process counts from its first line.
    runtime.flow_log_lines = 0;
    flow_log("<-- backhaul_monitor start -->\n");
    worker();
    std::abort();  // a worker does not return
}

/// Waits until `pid` has ended and returns its status.
int worker_wait(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) != pid && errno == EINTR) {
    }
    return status;
}

/// Logs how the worker ended and keeps the flow log of a crash.
void worker_end_log(const worker_end_info& end) {
    if (end.kind == worker_end::exited) {
        // The truth value of "it exited"; the exit status is deliberately not logged.
        flow_log("normal termination : %d\n", 1);
    } else if (end.kind == worker_end::crashed) {
        flow_log("abnormal termination : %d\n", end.signal);
        std::rename(FLOW_LOG_PATH, FLOW_LOG_CRASH_PATH);
    }
}

}  // namespace

worker_end_info worker_end_classify(int status) {
    constexpr unsigned SIGNAL_MASK = 0x7F;
    const unsigned bits = static_cast<unsigned>(status) & 0xFFFFU;
    if ((bits & SIGNAL_MASK) == 0) {
        return {worker_end::exited, 0};
    }
    // Also with the core-dump bit (0x80); a stopped worker has 0x7F in its low bits.
    if (bits - 1U < 0xFFU) {
        const int signal = static_cast<int>(bits & SIGNAL_MASK);
        const bool quiet = signal == QUIET_RESTART_SIGNAL;
        return {quiet ? worker_end::restarted : worker_end::crashed, signal};
    }
    return {worker_end::other, 0};
}

void supervisor_run(void (*worker)()) {
    const pid_t supervisor = getpid();
    for (;;) {
        std::fflush(stdout);
        const pid_t pid = fork();
        if (pid == 0) {
            worker_child_run(supervisor, worker);
        }
        if (pid < 0) {
            std::exit(EXIT_SUCCESS);
        }
        std::puts("Wait pid");
        const worker_end_info end = worker_end_classify(worker_wait(pid));
        worker_end_log(end);
        if (end.kind != worker_end::other) {
            sleep(WORKER_RESTART_PAUSE);
        }
    }
}
