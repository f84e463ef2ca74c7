// One node of a mesh: its stand-in router, the daemon on it and what the mesh remembers of it.
//
// Made once a run; power off and on change what is inside. Used on the thread that owns the mesh.
// A function that answers false has put one sentence into `error`.
#pragma once

#include <cstdint>
#include <ctime>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "lab/air/air_model.h"
#include "lab/air/air_time.h"
#include "lab/driver/netlink_sender.h"
#include "lab/node/daemon.h"
#include "lab/node/flow_log_reader.h"
#include "lab/node/journal.h"
#include "lab/node/node.h"
#include "lab/rules/observation.h"

namespace lab {

struct MeshOptions {
    std::string programs;   // folder of lab_tool, lab_sh and liblab_clock.so
    std::string daemon;     // the daemon's program
    bool together = false;  // many nodes: move them in one go (MovedClock)
};

class MeshNode {
public:
    // Makes the router of `scenario.nodes[index]`, without power. Its switch exists.
    static std::unique_ptr<MeshNode> make(const Scenario& scenario, int index,
                                          const MeshOptions& options, std::uint32_t now,
                                          std::string& error);
    ~MeshNode();
    MeshNode(const MeshNode&) = delete;
    MeshNode& operator=(const MeshNode&) = delete;

    const Node& node() const {
        return *node_;
    }
    DriverSender& driver() {
        return driver_;
    }
    Daemon& daemon() {
        return daemon_;
    }
    const ScenarioNode& plan() const {
        return plan_;
    }

    // Whether a tool waits for the air, and the socket it waits at.
    int air_socket() const {
        return air_socket_;
    }

    // How the model looks into the node.
    NodeReader reader() const;

    // The files that are there before anything runs. The configuration store lasts: it is written
    // at the first call only.
    bool furnish(std::string& error);

    // Starts the daemon, as root (-m) or not; ends every process and empties what is in memory.
    bool daemon_start(bool as_root, std::string& error);
    void power_off();
    bool started_as_root() const {
        return as_root_;
    }
    bool has_power() const {
        return powered_;
    }

    // The worker of the moment, 0 when there is none.
    int worker();

    // The status file as it is; false when there is none. It is read when it is another one than
    // at the last call.
    bool status_read(std::string* text);

    // Reads what is new in the flow log; true when lines came and went unseen.
    bool log_read();
    // Lines that the last log_read brought.
    const std::vector<LogEntry>& log_news() const {
        return log_news_;
    }
    // The newest lines (LOG_KEPT at most); the first of them has the number log_first().
    const std::deque<LogEntry>& log() const {
        return log_;
    }
    std::uint64_t log_first() const {
        return log_count_ - log_.size();
    }
    std::uint64_t log_end() const {
        return log_count_;
    }

    // Lines given to the shell: where they end now, and those behind such a place.
    std::uint64_t shell_end() const;
    std::vector<std::string> shell_since(std::uint64_t place) const;

    // Kept lines of the flow log and all lines given to the shell, of all boots, in one order.
    std::vector<JournalEntry> journal() const;

private:
    static constexpr std::size_t LOG_KEPT = 20000;

    MeshNode(ScenarioNode plan, std::unique_ptr<Node> node);
    bool files_write(std::string& error) const;

    ScenarioNode plan_;
    std::vector<std::pair<std::string, std::string>> store_;  // as shipped
    std::string channels_;
    std::unique_ptr<Node> node_;
    Daemon daemon_;
    DriverSender driver_;
    std::unique_ptr<FlowLogReader> log_reader_;
    int log_lost_ = 0;
    std::vector<LogEntry> log_news_;
    std::deque<LogEntry> log_;
    std::deque<LogLine> log_places_;  // of the same lines, without their texts
    std::uint64_t log_count_ = 0;
    int air_socket_ = -1;
    timespec status_written_{};
    std::uint64_t status_inode_ = 0;
    std::string status_;
    bool powered_ = false;
    bool as_root_ = false;
    bool store_written_ = false;
};

}  // namespace lab
