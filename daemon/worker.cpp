#include "daemon/worker.h"

#include "intake/control_fifo.h"
#include "intake/msg_socket.h"
#include "intake/netlink_intake.h"
#include "intake/root_announce.h"
#include "intake/sock_handle.h"
#include "intf/intf_table.h"
#include "link/slave_start.h"
#include "link/timeout_check.h"
#include "root/root_intf.h"
#include "root/root_loop.h"
#include "runtime/mode_file.h"
#include "runtime/runtime_block.h"
#include "runtime/thread_start.h"
#include "runtime/worker_end.h"
#include "topology/topology_db.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr char FUNCTION_NAME[] = "backhaul_monitor";
constexpr unsigned DB_RETRY_PAUSE = 1;

/// A role that an earlier worker was given by command overrides that of the command line.
void role_set() {
    std::array<char, MODE_WORD_SIZE> word{};
    if (mode_file_read(word)) {
        runtime.master = mode_role(word.data(), runtime.master);
    }
}

void topology_db_wait() {
    while (backhaul_db_open() < 0) {
        std::printf("%s : Database not ready yet, try again\n", FUNCTION_NAME);
        sleep(DB_RETRY_PAUSE);
    }
}

/// Starts a thread; `name` is for the message. Thread creation reports errors as positive
/// numbers, so the test never fires: required, start-up goes on without the thread.
void worker_thread_start(void* (*entry)(void*), void* argument, const char* name) {
    if (thread_start(entry, argument) < 0) {
        std::fprintf(stderr, "%s : %s thread creation failed!!\n", FUNCTION_NAME, name);
    }
}

[[noreturn]] void extender_run() {
    worker_thread_start(loop_slave_handle, runtime.b_arg, "loop_slave_handle");
    backhaul_slave_init();
    std::puts("Slave");
    // `timer_mutex` is in use by the socket thread already: statically initialised, never again.
    backhaul_timer_monitor(nullptr);
    std::abort();  // the timer loop does not return
}

[[noreturn]] void root_run() {
    if (runtime.intf_init) {
        backhaul_root_intf_init();
    }
    std::puts("Master");
    worker_thread_start(backhaul_timer_monitor, nullptr, "backhaul_timer_monitor");
    backhaul_root_loop();
}

}  // namespace

void backhaul_monitor() {
    role_set();
    netlink_open();
    control_fifo_create();
    msg_socket_open();
    topology_db_wait();
    worker_thread_start(backhaul_sock_handle, nullptr, "backhaul_sock_handle");
    if (intf_table_load() < 1) {
        std::puts("Init WiFi interface table fail");
        worker_end_now(EXIT_SUCCESS);
    }
    if (!runtime.master) {
        extender_run();
    }
    root_run();
}
