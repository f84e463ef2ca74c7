#include "daemon/process_start.h"

#include "daemon/supervisor.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace {

/// The first file that is opened would become a standard stream: tools and console lines would
/// then write into it.
void standard_streams_open() {
    int fd = -1;
    do {
        // Not close-on-exec: tools get the streams as well.
        fd = open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) {
        close(fd);
    }
}

void signal_pass(int /*signal*/) {}

void signals_set() {
    // Ignored, they would hide the end of workers and tools, and the request for a restart.
    std::signal(SIGCHLD, SIG_DFL);
    std::signal(QUIET_RESTART_SIGNAL, SIG_DFL);
    // A handler and not SIG_IGN, which exec would hand on to every tool: a pipe of tools ends by
    // this signal.
    struct sigaction pass {};
    pass.sa_handler = signal_pass;
    pass.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &pass, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

void process_start() {
    standard_streams_open();
    signals_set();
}
