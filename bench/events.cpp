#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "bench/life.h"
#include "bench/rows.h"
#include "lab/node/processes.h"
#include "lab/tools/small_file.h"

namespace bench {
namespace {

constexpr int BURST = 10'000;
constexpr int BURSTS = 3;
constexpr int RESTARTS = 7;
constexpr double SECOND_US = 1e6;

// How many system calls a thread makes while `action` runs; -1 without strace.
long system_calls(pid_t thread, const std::function<bool()>& action) {
    constexpr char TRACE[] = "/tmp/trace";
    const pid_t tracer = fork();
    if (tracer == 0) {
        execlp("strace", "strace", "-q", "-e", "signal=none", "-o", TRACE, "-p",
               std::to_string(thread).c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    std::string about;
    while (about.find("TracerPid:\t" + std::to_string(tracer) + "\n") == std::string::npos) {
        if (waitpid(tracer, nullptr, WNOHANG) != 0) {
            return -1;
        }
        usleep(1000);
        lab::file_read("/proc/" + std::to_string(thread) + "/status", &about);
    }
    const bool done = action();
    kill(tracer, SIGINT);
    waitpid(tracer, nullptr, 0);
    std::string trace;
    lab::file_read(TRACE, &trace);
    // One line a call; the last one has not come to its end.
    return done ? std::count(trace.begin(), trace.end(), '\n') - 1 : -1;
}

// The worker's second thread handles driver events.
pid_t event_thread(pid_t worker) {
    std::vector<pid_t> threads;
    for (const std::string& name : lab::folder_list("/proc/" + std::to_string(worker) + "/task")) {
        threads.push_back(static_cast<pid_t>(std::stol(name)));
    }
    std::sort(threads.begin(), threads.end());
    return threads.size() < 2 ? worker : threads[1];
}

// Two entries each, as the daemon writes them; then the status file, which is the end.
bool burst(Bed& bed, const char* last, Samples& samples) {
    Reaction seen;
    const auto send = [&bed, last] {
        const lab::MacAddress client = lab::mac_from_text("02:00:00:00:00:99");
        for (int i = 0; i < BURST; ++i) {
            if (!lab::driver_client_left(&bed.driver(), "ath20", client, bed.error())) {
                return false;
            }
        }
        return lab::driver_disassociated(&bed.driver(), last, bed.error());
    };
    const auto is_status = [](const Reaction& so_far, const std::string&) {
        return so_far.status >= 0;
    };
    const bool done = bed.watch(send, seen, is_status);
    samples.add(seen.status);
    return done;
}

// From a worker's end to the first entry of the next, the required second left out.
bool restart(Bed& bed, pid_t worker, Samples& samples) {
    Reaction seen;
    const bool done = bed.watch(
        [worker] { return kill(worker, SIGUSR1) == 0; }, seen,
        [](const Reaction& so_far, const std::string&) { return so_far.first_entry >= 0; });
    samples.add(seen.first_entry - SECOND_US);
    return done;
}

}  // namespace

bool calls_measure(Pair& pair, Table& table, std::string& error) {
    Reaction lost;
    const long here = system_calls(event_thread(pair.daemon->daemon().worker()),
                                   [&] { return pair.daemon->lose(lost); });
    const long floor = system_calls(pair.floor_pid, [&] {
        Reaction seen;
        return floor_react(*pair.floor, "ath0", seen,
                           [&lost](const Reaction& so_far) { return so_far.tools >= lost.tools; });
    });
    Reaction ignored;
    if (here < 0 || floor < 0 || !pair.daemon->connect(ignored) ||
        !pair.daemon->configure(ignored)) {
        error = "strace did not follow a loss " + pair.daemon->error();
        return false;
    }
    table.add({"own system calls of a loss: its lines in a bare loop", "",
               static_cast<double>(here), static_cast<double>(floor), 0, Goal::ratio, 1.07});
    return true;
}

bool burst_measure(Pair& pair, Table& table, std::string& error) {
    const std::unique_ptr<Bed> bare =
        Bed::make({.name = "burst", .address = "192.168.1.80/24"}, error);
    pid_t ignored_pid = -1;
    if (bare == nullptr ||
        !floor_start(*bare,
                     {{"ath20",
                       "E Sun Sep  9 01:46:40 2001 : STA_DISASSOC_WITH_AP(ath20)\n"
                       "E Sun Sep  9 01:46:40 2001 : STA mac : 02:00:00:00:00:99\n"},
                      {"ath11", "S not ready\n"}},
                     ignored_pid, error)) {
        return false;
    }
    Samples here;
    Samples floor;
    Reaction ignored;
    for (int round = 0; round < BURSTS; ++round) {
        if (!burst(*pair.daemon, STA, here) || !pair.daemon->connect(ignored) ||
            !pair.daemon->configure(ignored) || !burst(*bare, "ath11", floor)) {
            error = pair.daemon->error() + bare->error();
            return false;
        }
    }
    table.add("burst of 10,000 client events: two entries each", here, floor, 0);
    return true;
}

bool restarts_measure(Pair& pair, Table& table, std::string& error) {
    const std::unique_ptr<Bed> bare =
        Bed::make({.name = "fork", .address = "192.168.1.80/24"}, error);
    const pid_t supervisor =
        bare == nullptr ? -1 : bare->spawn({bench_program("bench_floor"), "supervisor"});
    if (supervisor < 0 || !bare->await_log("start")) {
        error = bare == nullptr ? error : bare->error();
        return false;
    }
    Samples& here = pair.restart;
    Samples floor;
    for (int round = 0; round < RESTARTS; ++round) {
        const std::vector<pid_t> children = lab::child_pids_of(bare->node(), supervisor);
        error = "the bare supervisor has no child";
        if (children.empty()) {
            return false;
        }
        if (!restart(*bare, children[0], floor) ||
            !restart(*pair.daemon, pair.daemon->daemon().worker(), here)) {
            error = pair.daemon->error() + bare->error();
            return false;
        }
    }
    table.add("a new worker beyond its second: a bare fork", here, floor, 1.2);
    return true;
}

}  // namespace bench
