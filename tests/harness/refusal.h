// What the kernel refuses to a process that has to cope with it. But for the limit, the refusal
// stays for the rest of that process's life: it is for a child (child.h).
#pragma once

#include <sys/resource.h>

namespace harness {

// No thread can be started; processes can.
void threads_refuse();
// No process can be started; what shares its parent's memory can, as threads do.
void forks_refuse();
// No socket can be bound.
void binds_refuse();

// No further descriptor can be opened for as long as this lives.
class DescriptorsRefused {
public:
    DescriptorsRefused();
    ~DescriptorsRefused();
    DescriptorsRefused(const DescriptorsRefused&) = delete;
    DescriptorsRefused& operator=(const DescriptorsRefused&) = delete;

private:
    rlimit before_{};
};

}  // namespace harness
