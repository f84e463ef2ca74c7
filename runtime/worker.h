#pragma once

// Start-up of a worker and the two things that only a worker does with itself: start threads and
// end.
//
// `backhaul_monitor` runs on the main thread of the worker and hands it to the role. No thread is
// ever joined or stopped; the worker ends as a whole.

/// The daemon proper: role, event sources, database, interface table, threads, role loop. Never
/// returns. Ends the worker with status 1 when the message socket cannot be made or bound, and
/// with status 0 when there is no interface table.
[[noreturn]] void backhaul_monitor();

/// Creates `runtime.msg_fd` and binds it to port 36003 on every address; on a root node first
/// sets `backhaul_valid`. Ends the worker with status 1 on failure (perror "socket" or "bind").
void msg_socket_open();

/// Ends the worker from any thread with `status`: flushes what was printed and leaves at once,
/// without waiting for another thread that is inside a read (the supervisor restarts it).
[[noreturn]] void worker_end_now(int status);

/// Starts a thread with the daemon's stack size. Returns what pthread_create returns.
int thread_start(void* (*entry)(void*), void* argument);
