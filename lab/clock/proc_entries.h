// The numbered entries of a folder of /proc: processes, threads, descriptors. Any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace lab {

// In the order in which the kernel lists them; empty when the folder cannot be read.
std::vector<pid_t> proc_entries(const std::string& path);

}  // namespace lab
