// Whether a node is quiet: every thread of every process in its pid namespace is blocked, waiting
// for something that only the outside or the clock can bring.
//
// Used by the clock's owner on one thread; each instance watches one node. A look reads the state
// and the context-switch counts of all known threads; a node is quiet when two looks in a row find
// all of them blocked and none of them has run in between. That all threads are known is certain
// only if they were listed between two such looks: a thread that is being created by one that runs
// is in no list yet. Nothing is changed in the node.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

struct WatchedThread {
    pid_t pid = 0;
    pid_t tid = 0;
    int fd = -1;       // its status file, kept open
    int call_fd = -1;  // its syscall file, kept open
    char state = '?';
    std::uint64_t switches = 0;  // voluntary and other context switches together
};

// Whether a thread whose state is not "running" has come to rest, by what its /proc/.../syscall
// says; true when that says nothing, since the thread is gone. The state alone tells too early: who
// is about to wait still runs for a moment (who collects an ended child, for as long as that
// takes), and an ended process has yet to wake its parent.
bool has_left_its_processor(std::string_view syscall);

// Whether a packet was sent that its receiver has not got yet, by what /proc/net/softnet_stat says:
// a machine that is busy delivers late, and until then whoever waits for the packet seems to rest.
bool packets_under_way(std::string_view softnet_stat);
bool packets_under_way();

class QuietWatch {
public:
    // `proc` is the node's /proc as the caller sees it, "/proc/PID/root/proc" or "/proc". Threads
    // in `except` (in the node's numbering) may run: the caller itself, in in-process tests.
    explicit QuietWatch(std::string proc, std::vector<pid_t> except = {});
    ~QuietWatch();
    QuietWatch(const QuietWatch&) = delete;
    QuietWatch& operator=(const QuietWatch&) = delete;

    // Two looks and what lies between them, without waiting for anything but a processor.
    bool is_quiet();

    // The same where nobody can run while the caller does (processor_place.h): one look.
    bool rests();

    // Whether nobody has run since is_quiet() said yes: one more look.
    bool is_quiet_still();

    bool thread_exists(pid_t pid, pid_t tid) const;

    // Every thread that may have kept the node from being quiet: one line each with its name,
    // state and where it is in the kernel.
    std::string describe() const;

private:
    bool look(bool compare);
    bool list_threads();
    bool watch_process(pid_t pid, std::vector<WatchedThread>& found);
    std::uint64_t newest_pid() const;

    std::string proc_;
    std::vector<pid_t> except_;
    std::vector<WatchedThread> threads_;
    // The newest pid when threads_ was known to be all there is; 0: not known.
    std::uint64_t complete_at_ = 0;
    int loadavg_ = -1;
};

}  // namespace lab
