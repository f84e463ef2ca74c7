#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include "bench/life.h"
#include "bench/rows.h"
#include "lab/node/processes.h"
#include "lab/tools/small_file.h"

namespace bench {
namespace {

constexpr int SAMPLES = 10;
constexpr std::chrono::milliseconds SERVICE_LIFE{1200};
constexpr std::chrono::seconds IDLE{20};
constexpr char TOOL[] = "/run/lab/bin/lab_tool";

// The cable between a node and the switch, as its driver would tell.
bool cable_set(const std::string& port, bool up) {
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", port.c_str());
    bool done = ioctl(sock, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags =
        static_cast<short>(up ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP);
    done = done && ioctl(sock, SIOCSIFFLAGS, &request) == 0;
    close(sock);
    return done;
}

// Memory of its own and how often it wakes up in a minute while nothing happens, of the processes
// given.
void idle_rows(const std::string& name, const std::vector<pid_t>& ours,
               const std::vector<pid_t>& theirs, Table& table) {
    const auto sum = [](const std::vector<pid_t>& pids, const char* file, const char* key) {
        long all = 0;
        for (const pid_t pid : pids) {
            all += number_behind("/proc/" + std::to_string(pid) + file, key);
        }
        return static_cast<double>(all);
    };
    constexpr std::array MEMORY = {"/smaps_rollup", "Anonymous:"};
    constexpr std::array AWAKE = {"/status", "voluntary_ctxt_switches:"};
    const double before = sum(theirs, AWAKE[0], AWAKE[1]);
    std::this_thread::sleep_for(IDLE);
    const double awake = (sum(theirs, AWAKE[0], AWAKE[1]) - before) * 60 / IDLE.count();
    table.count("anonymous KB: " + name + "'s", sum(ours, MEMORY[0], MEMORY[1]),
                sum(theirs, MEMORY[0], MEMORY[1]), 0);
    table.count("wake-ups a minute, nothing armed: " + name + "'s", 2, awake, 0);
}

// A link monitor in a node of its own: from the carrier's change to the start of its script.
bool monitor_measure(Pair& pair, const std::string& name, const std::vector<std::string>& words,
                     Table& table, std::string& error) {
    const auto bed = Bed::make({.name = name, .address = "192.168.1.120/24"}, error);
    if (bed == nullptr) {
        return false;
    }
    lab::file_write(bed->node().at("/tmp/netplugd.conf"), "lan0\n");
    const pid_t monitor = bed->spawn(words);
    Samples here;
    Samples floor;
    Reaction seen;
    const auto a_tool = [](const Reaction& so_far, const std::string&) {
        return so_far.tools > 0;
    };
    const std::string port = monitor < 0 ? "" : bed->node().switch_port();
    bool up = true;
    // Some run their script when they start; the others say nothing for as long as that may take.
    bed->watch([] { return true; }, seen, a_tool);
    for (int sample = 0; monitor > 0 && sample < SAMPLES; ++sample) {
        up = !up;
        if (!bed->watch([&port, up] { return cable_set(port, up); }, seen, a_tool)) {
            error = name + ": " + bed->error();
            return false;
        }
        floor.add(seen.first_tool);
        Reaction ignored;
        if (!pair.daemon->lose(seen) || !pair.daemon->connect(ignored) ||
            !pair.daemon->configure(ignored)) {
            error = pair.daemon->error();
            return false;
        }
        here.add(seen.first_tool);
    }
    table.add("event to the first tool: " + name + "'s script", here, floor, 0);
    lab::Daemon& daemon = pair.daemon->daemon();
    idle_rows(name, {daemon.supervisor(), daemon.worker()}, {monitor}, table);
    return monitor > 0;
}

// A supervisor: from the end of a service that lived for more than a second to the next one.
bool supervisor_measure(Pair& pair, const std::string& name, const std::string& program,
                        Table& table, std::string& error) {
    const auto bed = Bed::make({.name = name, .address = "192.168.1.120/24"}, error);
    if (bed == nullptr) {
        return false;
    }
    lab::folder_make(bed->node().at("/tmp/service"));
    const std::string script = bed->node().at("/tmp/service/run");
    lab::file_write(script, std::string("#!/bin/sh\n") + TOOL + "\nexec sleep 1000\n");
    chmod(script.c_str(), 0755);
    pid_t supervisor = -1;
    Samples samples;
    Reaction seen;
    const auto a_tool = [](const Reaction& so_far, const std::string&) {
        return so_far.tools > 0;
    };
    const auto start = [&] {
        return (supervisor = bed->spawn({program, "/tmp/service"})) > 0;
    };
    bool done = bed->watch(start, seen, a_tool);
    for (int sample = 0; done && sample < SAMPLES; ++sample) {
        std::this_thread::sleep_for(SERVICE_LIFE);
        const std::vector<pid_t> service = lab::child_pids_of(bed->node(), supervisor);
        done = !service.empty() &&
               bed->watch([&service] { return kill(service[0], SIGKILL) == 0; }, seen, a_tool);
        samples.add(seen.first_tool);
    }
    if (!done) {
        error = name + ": " + bed->error();
        return false;
    }
    table.add("a new worker beyond its second: " + name + "'s service", pair.restart, samples, 0);
    idle_rows(name, {pair.daemon->daemon().supervisor()}, {supervisor}, table);
    return true;
}

}  // namespace

bool others_measure(Pair& pair, const std::string& folder, Table& table, std::string& error) {
    const std::string libraries = "LD_LIBRARY_PATH=" + folder + "/usr/lib";
    // Its worker was replaced a moment ago.
    if (!pair.daemon->make_ready()) {
        error = pair.daemon->error();
        return false;
    }
    return monitor_measure(pair, "ifplugd",
                           {"/usr/bin/env", libraries, folder + "/usr/sbin/ifplugd", "-n", "-s",
                            "-i", "lan0", "-r", TOOL, "-u", "0", "-d", "0"},
                           table, error) &&
           monitor_measure(pair, "netplugd",
                           {folder + "/sbin/netplugd", "-F", "-P", "-c", "/tmp/netplugd.conf", "-s",
                            TOOL, "-p", "/tmp/netplugd.pid"},
                           table, error) &&
           supervisor_measure(pair, "runsv", folder + "/usr/bin/runsv", table, error) &&
           supervisor_measure(pair, "supervise", folder + "/usr/bin/supervise", table, error);
}

}  // namespace bench
