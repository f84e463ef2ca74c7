// The real daemon inside a node: its supervisor, the worker of the moment, and what they leave.
//
// Used on the thread that owns the node. Nothing here waits for anything but process starts and
// ends; time and quiet are the clock's.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "lab/node/node.h"
#include "lab/node/processes.h"

namespace lab {

struct DaemonOptions {
    std::vector<std::string> arguments;     // after the program's name
    std::vector<std::string> environment;   // "NAME=VALUE", beyond the node's own
    std::vector<std::string> through = {};  // a program that becomes the daemon, and its words
};

// Environment of a daemon that is meant to be killed with SIGSEGV and its like: sanitizers leave
// those signals alone and report everything else.
std::vector<std::string> environment_for_crashes();

inline constexpr char DAEMON_OUT[] = "/run/lab/out/stdout";
inline constexpr char DAEMON_ERR[] = "/run/lab/out/stderr";

class Daemon {
public:
    explicit Daemon(const Node& node) : node_(node) {}
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    // Starts the supervisor. Its standard streams grow DAEMON_OUT and DAEMON_ERR.
    bool start(const DaemonOptions& options, std::string& error);

    // Ends supervisor, worker and what they started, and reaps the supervisor.
    void stop();

    pid_t supervisor() const {
        return supervisor_;
    }
    // The worker of the moment, 0 when there is none.
    pid_t worker() const;

    // Whether the supervisor has ended; `status` as from waitpid.
    bool has_ended(int& status);

    // Sends a signal to the worker and returns when that process is gone (false: it never was
    // there).
    bool kill_worker(int signal, std::string& error);

    // Open descriptors, threads and memory of the worker.
    std::vector<std::string> worker_descriptors() const;
    std::vector<std::string> worker_threads() const;
    long worker_resident_kb() const;

private:
    void counters_write();

    const Node& node_;
    pid_t supervisor_ = -1;
    bool reaped_ = true;
    int status_ = 0;
};

// What sanitizers reported about any process of the node, one text a process; empty when all is
// well.
std::vector<std::string> sanitizer_reports(const Node& node);

// Ended processes that nobody has reaped, as "PID NAME".
std::vector<std::string> zombies(const Node& node);

}  // namespace lab
