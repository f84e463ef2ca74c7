// What the kernel says about the memory, the waking up and the writing of a process. Read anew at
// each call, on the test's thread; a process that is gone counts as nothing.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace budget {

// Memory that belongs to no file, in KiB: heap, stacks, written data.
long anonymous_kb(pid_t pid);

// A thread's stack: a mapping without a file above a page that nobody may touch. In KiB.
struct Stack {
    long size = 0;
    long touched = 0;
};
std::vector<Stack> thread_stacks(pid_t pid);

// How often the threads of a process have gone to sleep of their own will, which is how often they
// had been awake.
long times_awake(pid_t pid);

// Bytes that a process has handed to write() and its like, to whatever file.
long bytes_written(pid_t pid);

}  // namespace budget
