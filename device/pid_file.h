#pragma once

// Is the process alive that a pid file names? Any thread.

/// Whether the process named by the pid file at `path` runs; without a file it does not, and a file
/// that cannot be opened is taken for that of a live process.
bool pid_file_alive(const char* path);
