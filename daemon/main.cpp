// Entry point: a sound process, options, start hint, then the supervisor, which never returns.

#include <cstdio>

#include "daemon/options.h"
#include "daemon/process_start.h"
#include "daemon/supervisor.h"
#include "daemon/worker.h"
#include "runtime/runtime_block.h"

int main(int argc, char** argv) {
    process_start();
    // Before the first line: a line that sat in the buffer would be lost with a killed worker, or
    // come out once for every fork.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    options_default_set(runtime);
    options_parse(argc, argv, runtime);
    intf_init_skip();
    supervisor_run(backhaul_monitor);
}
