#pragma once

// Whether the daemon runs, from /proc below a root.

/// What the kernel's list of processes tells.
struct daemon_processes {
    bool known = false;   ///< there is such a list
    int supervisors = 0;  ///< daemons; a worker is its supervisor's
};

/// Ended processes that nobody has waited for do not count.
daemon_processes daemons_find(const char* root);
