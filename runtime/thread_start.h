#pragma once

// Threads of a worker, with a stack of the daemon's own size.

/// Starts a thread. Returns what pthread_create returns.
int thread_start(void* (*entry)(void*), void* argument);
