// A node that is measured: the real shell, tools that report when they start, real time, and either
// the daemon or the floor's program. Made by the benchmark's main thread inside its own sandbox.
//
// A function that answers false (or null) has put a sentence into `error`.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lab/driver/netlink_sender.h"
#include "lab/node/daemon.h"
#include "lab/node/node.h"

namespace bench {

inline constexpr char STA[] = "ath0";
inline constexpr char LOG[] = "/var/log/backhaul_flow_log";
inline constexpr char STATUS[] = "/tmp/backhaul_status";

// When what follows from an event happened, in microseconds behind it; negative: it did not.
struct Reaction {
    double first_entry = -1;
    double status = -1;
    double first_tool = -1;
    double last_tool = -1;
    int tools = 0;
};

struct BedOptions {
    std::string name;
    std::string address;  // "192.168.1.20/24"
    bool is_root = false;
    bool records_lines = false;  // the shell that records, in place of the real one
    std::string profile = {};    // empty: the standard one
};

class Bed {
public:
    static std::unique_ptr<Bed> make(const BedOptions& options, std::string& error);
    ~Bed();
    Bed(const Bed&) = delete;
    Bed& operator=(const Bed&) = delete;

    lab::Node& node() {
        return *node_;
    }
    lab::Daemon& daemon() {
        return *daemon_;
    }
    lab::DriverSender& driver() {
        return driver_;
    }
    std::string& error() {
        return error_;
    }

    bool start_daemon();
    // Brings the extender to "ready" from wherever it is; the root's part is played too.
    bool make_ready();

    // Notes what happens from `event` on until `done` holds of it, the newest tool start being
    // `tool` (empty at the status file's change). False when it takes longer than ten seconds.
    bool watch(const std::function<bool()>& event, Reaction& seen,
               const std::function<bool(const Reaction& so_far, const std::string& tool)>& done);

    // A life in three parts; each returns when the daemon has written its last entry about it.
    bool lose(Reaction& seen);
    bool connect(Reaction& seen);
    bool configure(Reaction& seen);

    // Waits until the log's last entry ends with `text`.
    bool await_log(const std::string& text, int seconds = 10);

    // Starts a program inside; it ends with the bed. -1: it cannot be started.
    pid_t spawn(const std::vector<std::string>& words, const std::string& out = "/dev/null");
    // Runs one to its end and returns what it printed.
    bool run(const std::vector<std::string>& words, std::string& printed);

private:
    Bed() = default;
    bool furnish(const BedOptions& options);
    bool take_files(std::int64_t start, Reaction& seen);

    std::unique_ptr<lab::Node> node_;
    std::unique_ptr<lab::Daemon> daemon_;
    lab::DriverSender driver_;
    std::vector<pid_t> children_;
    std::string unread_;
    std::string error_;
    bool is_root_ = false;
    int starts_ = -1;
    int files_ = -1;
};

std::int64_t now_ns();

// The number behind the line beginning `key` of a file of /proc; 0 when there is none.
long number_behind(const std::string& path, const std::string& key);

}  // namespace bench
