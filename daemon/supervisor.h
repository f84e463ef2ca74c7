#pragma once

// The supervisor: forks a worker, waits for it, starts the next one. It never ends by itself.
//
// Single-threaded; all threads of the daemon live in the worker. It shares only the flow-log file
// with its worker. How a worker ended is decided by `worker_end_classify`, a function of the wait
// status alone. A worker ends with its supervisor: at once, by SIGKILL.

#include <csignal>

/// What a wait status means to the supervisor.
enum class worker_end {
    exited,     ///< exit with any status: logged as normal, next worker after a second
    restarted,  ///< SIGUSR1, a quiet restart request: next worker after a second
    crashed,    ///< any other signal: logged as abnormal, flow log kept, next after a second
    other,      ///< anything else: next worker at once
};

struct worker_end_info {
    worker_end kind;
    int signal;  ///< the signal number for `restarted` and `crashed`, else 0
};

/// Signal that asks for a quiet restart.
inline constexpr int QUIET_RESTART_SIGNAL = SIGUSR1;
/// Seconds between the end of a worker and the start of the next.
inline constexpr unsigned WORKER_RESTART_PAUSE = 1;

/// Classifies a status as waitpid returns it.
worker_end_info worker_end_classify(int status);

/// Runs workers for ever. Each worker calls `worker` (which must not return) in the child.
/// Ends the process with exit status 0 when fork fails.
[[noreturn]] void supervisor_run(void (*worker)());
