#include "runtime/worker_end.h"

#include <unistd.h>

#include <cstdio>

#ifdef BACKHAUL_COVERAGE
extern "C" void __gcov_dump(void);
#endif

void worker_end_now(int status) {
    // Not exit(): its walk over all open streams would wait for a thread that is inside a read.
    std::fflush(stdout);
#ifdef BACKHAUL_COVERAGE
    // The counters take one descriptor at a time: a worker that ends for want of any makes room.
    close(STDIN_FILENO);
    __gcov_dump();
#endif
    _exit(status);
}
