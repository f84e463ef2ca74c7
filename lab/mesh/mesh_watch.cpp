// Looking at every node once a second: for the rules, the outages and the table of events.
#include <algorithm>
#include <utility>

#include "lab/air/air_paths.h"
#include "lab/air/air_time.h"
#include "lab/mesh/mesh.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

constexpr char ETHERNET_AGENT[] = "/tmp/eth_backhaul_fifo";
constexpr std::string_view DETECT_REPLY = "eth_detect_reply";

// Without a change a mark goes round now and then; after one, at the next look.
constexpr std::int64_t MARK_PERIOD = 30;

std::vector<ObservedInterface> interfaces_of(const ScenarioNode& node) {
    std::vector<ObservedInterface> interfaces;
    for (const ScenarioInterface& interface : node.interfaces) {
        interfaces.push_back({interface.name, interface.type, interface.priority});
    }
    return interfaces;
}

std::vector<std::string> service_aps_up(const AirNode& node) {
    std::vector<std::string> up;
    for (const AirAp& ap : node.aps) {
        if (!ap.is_backhaul && ap.on_air) {
            up.push_back(ap.interface);
        }
    }
    return up;
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text.empty() ? "none" : text;
}

}  // namespace

std::vector<std::string> Mesh::uplinks(int index) const {
    std::vector<std::string> carrying;
    for (const std::string& uplink : air_uplinks_carrying(air_, index)) {
        if (network_.carries(index, uplink)) {
            carrying.push_back(uplink);
        }
    }
    return carrying;
}

// Whether the node or we may have changed its processes since the last look.
bool Mesh::has_started(int index) {
    const std::uint32_t starts = clock_.starts(index);
    return std::exchange(starts_seen_[air_index(index)], starts) != starts;
}

NodeObservation Mesh::look_at(int index, const MeshReach& reach) {
    MeshNode& node = *nodes_[air_index(index)];
    const AirNode& in_air = air_.nodes[air_index(index)];
    NodeObservation seen;
    seen.name = node.plan().name;
    seen.is_root = in_air.is_root;
    seen.powered = node.has_power();
    seen.rebooted = rebooted_.erase(index) != 0;
    seen.interfaces = interfaces_of(node.plan());
    const auto before = before_.find(seen.name);
    const bool started = has_started(index) || before == before_.end();
    seen.log_lines_lost = node.log_read();
    seen.log = node.log_news();
    if (!seen.powered) {
        return seen;
    }
    seen.status_exists = node.status_read(&seen.status_text);
    seen.worker_pid = started ? node.worker() : before->second.worker_pid;
    seen.service_aps_up = service_aps_up(in_air);
    seen.uplinks = uplinks(index);
    seen.reaches_root = reach.reaches[air_index(index)];
    const int above = reach.above[air_index(index)];
    seen.above = above == NOBODY ? "" : air_.nodes[air_index(above)].name;
    seen.stations = mesh_stations(air_, reach, node.plan().unconfigured, index);
    if (mesh_is_troubled(in_air, air_.now)) {
        troubled_at_[seen.name] = observation_.time;
    }
    seen.troubled_at = troubled_at_[seen.name];
    const bool changed = before != before_.end() && before->second.worker_pid != seen.worker_pid;
    const auto expected = worker_end_expected_.find(index);
    seen.worker_end_expected =
        expected != worker_end_expected_.end() && passed() <= expected->second;
    if (expected != worker_end_expected_.end() && changed && seen.worker_pid != 0) {
        worker_end_expected_.erase(expected);
    }
    return seen;
}

// The agent that watches the port stops asking once the daemon has answered.
void Mesh::ethernet_answers_take() {
    for (const AirCable& cable : air_.cables) {
        if (!cable.up || cable.answered) {
            continue;
        }
        const std::string path = nodes_[air_index(cable.from)]->node().at(ETHERNET_AGENT);
        std::string text;
        if (file_read(path, &text) && text.find(DETECT_REPLY) != std::string::npos) {
            file_remove(path);
            air_ethernet_answered(&air_, cable.from);
            return;
        }
    }
}

void Mesh::marks_note(const std::vector<int>& counts) {
    const std::string mark =
        nodes_[air_index(mark_sender_)]->plan().name + " at " + duration_text(mark_at_);
    for (std::size_t index = 0; index < counts.size(); ++index) {
        observation_.nodes[index].broadcasts.push_back({mark, counts[index]});
    }
}

// A mark of its own for a loop, which is open again before anything else could circle.
bool Mesh::loop_look(std::string& error) {
    mark_sender_ = network_.loop_at();
    mark_at_ = passed();
    if (!network_.loop_shut(error)) {
        return false;
    }
    const std::uint32_t mark = probe_.send(mark_sender_);
    const bool opened = network_.loop_open(error);
    marks_note(probe_.counts(mark));
    return opened;
}

bool Mesh::broadcast_look(std::string& error) {
    if (mark_ != 0) {
        marks_note(probe_.counts(mark_));
        mark_ = 0;
    }
    const bool moved = mark_changes_ != network_.changes();
    mark_changes_ = network_.changes();
    if (moved && network_.loop_at() != NOBODY) {
        return loop_look(error);
    }
    if (moved || passed() - mark_at_ >= MARK_PERIOD) {
        mark_sender_ = (mark_sender_ + 1) % node_count();
        mark_at_ = passed();
        mark_ = probe_.send(mark_sender_);
    }
    return true;
}

// What a reader of the run wants to know about a node: its way up, what it says of it, who serves.
void Mesh::changes_note(const NodeObservation& now) {
    const auto before = before_.find(now.name);
    if (before != before_.end()) {
        const NodeObservation& then = before->second;
        if (then.uplinks != now.uplinks && !now.is_root) {
            event_add(now.name, "uplink " + joined(now.uplinks));
        }
        if (then.status_text != now.status_text && !now.status_text.empty()) {
            event_add(now.name, without_line_end(now.status_text));
        }
        if (then.service_aps_up.empty() != now.service_aps_up.empty() && now.powered) {
            event_add(now.name, now.service_aps_up.empty() ? "service APs down" : "service APs up");
        }
        if (then.powered && now.powered && then.worker_pid != now.worker_pid) {
            event_add(now.name, now.worker_pid == 0 ? "worker ended" : "new worker");
        }
    }
    before_[now.name] = now;
}

void Mesh::outages_note() {
    for (const NodeObservation& node : observation_.nodes) {
        if (!node.is_root) {
            outage_note(&outages_, node.name, observation_.time, has_backhaul(node));
        }
    }
}

bool Mesh::look(std::string& error) {
    ethernet_answers_take();
    observation_.time = static_cast<std::int64_t>(clock_.now());
    observation_.nodes.clear();
    const MeshReach reach = mesh_reach(air_, network_);
    for (int index = 0; index < node_count(); ++index) {
        observation_.nodes.push_back(look_at(index, reach));
    }
    if (!broadcast_look(error)) {
        return false;
    }
    for (Violation& violation : rules_check(&rules_, observation_)) {
        event_add(violation.node, "rule " + violation.rule + ": " + violation.text +
                                      (violation.known.empty() ? "" : " (known)"));
        violations_.push_back(std::move(violation));
    }
    for (const NodeObservation& node : observation_.nodes) {
        changes_note(node);
    }
    outages_note();
    return true;
}

}  // namespace lab
