#pragma once

// The end of a worker, from any thread and any room: the supervisor then starts the next one.

/// Ends the worker with `status`: flushes what was printed and leaves at once, without waiting for
/// another thread that is inside a read.
[[noreturn]] void worker_end_now(int status);
