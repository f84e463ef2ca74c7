#include "lab/mesh/mesh_node.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "lab/air/air_radio.h"
#include "lab/mesh/mesh_network.h"
#include "lab/sandbox/layout.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/tools/air_protocol.h"
#include "lab/tools/folder_wipe.h"
#include "lab/tools/record.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

constexpr char STATUS_FILE[] = "/tmp/backhaul_status";
constexpr char FLOW_LOG[] = "/var/log/backhaul_flow_log";
constexpr char BATCH[] = "/run/lab/neighbours";
constexpr std::string_view PREFIX_LENGTH = "/24";
constexpr std::string_view OUTSIDE = "192.168.1.254";  // way out of the mesh, where nobody is

// Interfaces that the driver's events name.
std::vector<std::string> radios_of(const ScenarioNode& plan) {
    std::vector<std::string> radios;
    for (const ScenarioInterface& interface : plan.interfaces) {
        if (type_is_station(interface.type) || type_is_backhaul_ap(interface.type) ||
            type_is_service_ap(interface.type)) {
            radios.push_back(interface.name);
        }
    }
    return radios;
}

std::string channels_text(const std::vector<int>& channels) {
    std::string text;
    for (const int channel : channels) {
        text += std::to_string(air_frequency(channel)) + " ";
    }
    return text;
}

// Neighbours know each other for good: what one node asks another about its address would take
// seconds of the machine's time when there is no way, which are hours of the mesh's.
std::string neighbours_text(const Scenario& scenario, int index) {
    std::string text = "neigh replace " + std::string(OUTSIDE) +
                       " lladdr 02:00:c0:a8:01:fe dev br-lan nud permanent\n";
    for (int other = 0; other < static_cast<int>(scenario.nodes.size()); ++other) {
        if (other != index) {
            std::array<char, 4> last{};
            snprintf(last.data(), last.size(), "%02x", static_cast<unsigned>(other + 1) & 0xFFU);
            text += "neigh replace " + air_ip(other) + " lladdr 02:00:c0:a8:01:" + last.data() +
                    " dev br-lan nud permanent\n";
        }
    }
    return text;
}

bool neighbours_introduce(const Node& node, const std::string& text, std::string& error) {
    if (!file_write(node.at(BATCH), text)) {
        error = "cannot write into the node";
        return false;
    }
    SpawnPlan plan;
    plan.words = {"ip", "-batch", BATCH};
    plan.moved_clock = false;
    if (node.run(plan, error) != 0) {
        error = "cannot make the node's neighbours known " + error;
        return false;
    }
    return true;
}

}  // namespace

MeshNode::MeshNode(ScenarioNode plan, std::unique_ptr<Node> node)
    : plan_(std::move(plan)), node_(std::move(node)), daemon_(*node_) {}

MeshNode::~MeshNode() {
    if (air_socket_ >= 0) {
        close(air_socket_);
    }
    driver_close(&driver_);
}

std::unique_ptr<MeshNode> MeshNode::make(const Scenario& scenario, int index,
                                         const MeshOptions& options, std::uint32_t now,
                                         std::string& error) {
    const ScenarioNode& plan = scenario.nodes[air_index(index)];
    NodeOptions node_options;
    node_options.name = plan.name;
    node_options.programs = options.programs;
    node_options.daemon = options.daemon;
    node_options.address = air_ip(index) + std::string(PREFIX_LENGTH);
    node_options.gateway = OUTSIDE;
    node_options.radios = radios_of(plan);
    node_options.switch_name = MeshNetwork::switch_name(index);
    node_options.start_time = now;
    std::unique_ptr<Node> node = Node::make(node_options, error);
    if (node == nullptr || !neighbours_introduce(*node, neighbours_text(scenario, index), error)) {
        return nullptr;
    }
    std::unique_ptr<MeshNode> made(new MeshNode(plan, std::move(node)));
    made->store_ = scenario_uci(scenario, plan);
    made->channels_ = channels_text(scenario.channels);
    made->air_socket_ = air_listen(made->node_->root());
    if (made->air_socket_ < 0 || !driver_open(&made->driver_, made->node_->init(), error)) {
        error = "cannot open the node's air: " + error;
        return nullptr;
    }
    return made;
}

NodeReader MeshNode::reader() const {
    NodeReader reader;
    reader.file = [this](const std::string& path) {
        std::string text;
        file_read(node_->at(path), &text);
        return without_line_end(text);
    };
    reader.uci = [this](const std::string& key) {
        return uci_committed_get(node_->root(), key);
    };
    return reader;
}

bool MeshNode::files_write(std::string& error) const {
    if (!file_write(node_->at("/tmp/wifi_if_profile"), scenario_profile_text(plan_)) ||
        !file_write(node_->at(LAB_CHANNELS), channels_)) {
        error = "cannot write the node's files";
        return false;
    }
    return true;
}

bool MeshNode::furnish(std::string& error) {
    if (!store_written_) {
        for (const auto& [key, value] : store_) {
            uci_store_set(node_->root(), key, value);
        }
        store_written_ = true;
    }
    hyd_running_set(node_->root(), true);
    supplicant_pid_file_set(node_->root(), 1);
    agent_mode_set(node_->root(), AgentMode::at_once);
    agent_reload_value_set(node_->root(), "0");
    return files_write(error);
}

bool MeshNode::daemon_start(bool as_root, std::string& error) {
    DaemonOptions options;
    ScenarioNode plan = plan_;
    plan.role = as_root ? NodeRole::root : NodeRole::extender;
    options.arguments = scenario_daemon_options(plan);
    options.environment = environment_for_crashes();
    log_reader_ = std::make_unique<FlowLogReader>(node_->at(FLOW_LOG));
    log_lost_ = 0;
    as_root_ = as_root;
    powered_ = daemon_.start(options, error);
    return powered_;
}

void MeshNode::power_off() {
    daemon_.stop();
    log_read();
    log_reader_.reset();
    folder_wipe(node_->root(), "/tmp");
    folder_wipe(node_->root(), "/var/log");
    folder_wipe(node_->root(), LAB_STATE, {"uci", "air.sock"});
    powered_ = false;
}

int MeshNode::worker() {
    return powered_ ? daemon_.worker() : 0;
}

bool MeshNode::status_read(std::string* text) {
    const std::string path = node_->at(STATUS_FILE);
    struct stat found {};
    if (stat(path.c_str(), &found) != 0) {
        status_inode_ = 0;
        return false;
    }
    const bool same = found.st_ino == status_inode_ &&
                      found.st_mtim.tv_sec == status_written_.tv_sec &&
                      found.st_mtim.tv_nsec == status_written_.tv_nsec &&
                      found.st_size == static_cast<off_t>(status_.size());
    if (!same) {
        status_inode_ = found.st_ino;
        status_written_ = found.st_mtim;
        file_read(path, &status_);
    }
    *text = status_;
    return true;
}

bool MeshNode::log_read() {
    log_news_.clear();
    if (log_reader_ == nullptr) {
        return false;
    }
    for (LogLine& line : log_reader_->read_new()) {
        log_news_.push_back({line.time, std::exchange(line.text, {})});
        log_.push_back(log_news_.back());
        log_places_.push_back(std::move(line));
        ++log_count_;
    }
    while (log_.size() > LOG_KEPT) {
        log_.pop_front();
        log_places_.pop_front();
    }
    return std::exchange(log_lost_, log_reader_->lost()) != log_reader_->lost();
}

std::uint64_t MeshNode::shell_end() const {
    return file_size(node_->at(LAB_LINES));
}

std::vector<std::string> MeshNode::shell_since(std::uint64_t place) const {
    std::vector<LineRecord> records;
    line_records_read(node_->root(), &place, &records);
    std::vector<std::string> lines;
    for (const LineRecord& record : records) {
        lines.push_back(record.line);
    }
    return lines;
}

std::vector<JournalEntry> MeshNode::journal() const {
    std::vector<LogLine> lines(log_places_.begin(), log_places_.end());
    std::vector<std::uint64_t> generations;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        lines[at].text = log_[at].text;
        if (generations.empty() || generations.back() != lines[at].inode) {
            generations.push_back(lines[at].inode);
        }
    }
    return journal_merge(lines, generations, line_records(node_->root()));
}

}  // namespace lab
