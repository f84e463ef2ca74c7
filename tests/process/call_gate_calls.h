// The system calls that a gate is asked for, by what they do; shared by the gate and by the program
// that the daemon is started through.
#pragma once

#include <sys/syscall.h>

#include <array>
#include <cstddef>

struct gated_call_row {
    long number;
    const char* name;
    size_t path_argument;  // of those that name a file
};

// The C library makes processes by clone where there is no clone3, whose flags cannot be looked at.
inline constexpr std::array GATED_CALLS = {
    gated_call_row{SYS_clone, "process", 0},
#ifdef SYS_fork
    gated_call_row{SYS_fork, "process", 0},     gated_call_row{SYS_vfork, "process", 0},
#endif
    gated_call_row{SYS_openat, "create", 1},    gated_call_row{SYS_write, "write", 0},
#ifdef SYS_rename
    gated_call_row{SYS_rename, "rename", 0},
#endif
    gated_call_row{SYS_renameat2, "rename", 1},
};
