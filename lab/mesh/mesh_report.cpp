#include "lab/mesh/mesh_report.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "lab/air/air_paths.h"
#include "lab/node/processes.h"
#include "lab/rules/link_table.h"
#include "lab/scenario/scenario_step.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

// Of a status; all of them are told as a stream, and at the end of a run.
constexpr std::size_t NEWEST_EVENTS = 100;

std::string file_word(const MeshNode& node, const std::string& path) {
    std::string text;
    file_read(node.node().at(path), &text);
    return without_line_end(text);
}

// Losses of a ready backhaul since the worker's start, by the flow log.
int losses_of(const MeshNode& node, const std::string& interface, std::int64_t since) {
    return static_cast<int>(
        std::count_if(node.log().begin(), node.log().end(), [&](const LogEntry& entry) {
            const auto change = state_change_parse(entry.text);
            return entry.time >= since && change && change->interface == interface &&
                   change->from == STATE_READY &&
                   (change->requested == STATE_CONNECTING || change->requested == STATE_PARKED);
        }));
}

LinkStatus link_status(const Mesh& mesh, const MeshNode& node, const LinkTracker& tracker,
                       const TrackedLink& link, const std::vector<std::string>& uplinks) {
    LinkStatus status;
    status.interface = link.interface;
    if (link.is_known) {
        status.state = link.state;
        status.state_name = link_state_text(link.state);
        status.seconds = mesh.observation().time - link.entered_at;
        status.parked = link.state == STATE_PARKED;
    }
    status.losses = losses_of(node, link.interface, tracker.worker_since);
    status.carries = std::find(uplinks.begin(), uplinks.end(), link.interface) != uplinks.end();
    return status;
}

void outages_fill(const Mesh& mesh, NodeStatus* status) {
    const std::int64_t now = mesh.observation().time;
    const OutageSummary summary = outage_summary(mesh.outages(), status->name, now);
    status->outages = summary.count;
    status->outage_all = summary.total;
    const auto found = mesh.outages().nodes.find(status->name);
    if (found == mesh.outages().nodes.end()) {
        return;
    }
    if (summary.is_out) {
        status->outage = outage_seconds(found->second.outages.back(), now);
    }
    for (const Outage& outage : found->second.outages) {
        status->outage_list.push_back(
            {outage.from - mesh.started(), outage.to < 0 ? -1 : outage.to - mesh.started()});
    }
}

void processes_fill(const MeshNode& node, int worker, NodeStatus* status) {
    long ticks = 0;
    for (const ProcessInfo& process : node_processes(node.node())) {
        std::string stat;
        file_read("/proc/" + std::to_string(process.pid) + "/stat", &stat);
        const std::size_t at = stat.rfind(") ");
        long user = 0;
        long system = 0;
        // The name, which may hold anything, ends before; times are the 12th and 13th behind it.
        if (at != std::string::npos &&
            std::sscanf(stat.c_str() + at + 2,
                        "%*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %ld %ld", &user,
                        &system) == 2) {
            ticks += user + system;
        }
        if (process.pid == worker) {
            status->resident_kb = process.resident_kb;
        }
    }
    status->cpu_ms = ticks * 1000 / sysconf(_SC_CLK_TCK);
}

void air_fill(const Mesh& mesh, int index, NodeStatus* status) {
    const AirNode& in_air = mesh.air().nodes[air_index(index)];
    const AirPaths paths = air_paths(mesh.air());
    const int parent = paths.parent[air_index(index)];
    status->is_root = in_air.is_root;
    status->role = in_air.is_root ? "root" : "extender";
    status->parent = parent == NOBODY ? "" : mesh.air().nodes[air_index(parent)].name;
    status->hops = paths.hops[air_index(index)];
    status->aps_silenced =
        std::ranges::any_of(in_air.aps, [](const AirAp& ap) { return ap.silenced; });
    status->has_cable = std::ranges::any_of(
        mesh.air().cables, [index](const AirCable& cable) { return cable.from == index; });
    status->messages_dropped = in_air.messages_off_until != 0;
    for (const AirAp& ap : in_air.aps) {
        status->service_aps += ap.is_backhaul ? 0 : 1;
        status->service_aps_up += !ap.is_backhaul && ap.on_air ? 1 : 0;
    }
    status->power = mesh.node(index).has_power()    ? NodePower::on
                    : in_air.boots_at != AT_NO_TIME ? NodePower::booting
                                                    : NodePower::off;
}

NodeStatus node_status(const Mesh& mesh, int index) {
    const MeshNode& node = mesh.node(index);
    NodeStatus status;
    status.name = node.plan().name;
    air_fill(mesh, index, &status);
    outages_fill(mesh, &status);
    if (status.power != NodePower::on) {
        return status;
    }
    const std::vector<std::string> uplinks = mesh.uplinks(index);
    status.uplink = uplinks.empty() ? "none" : uplinks.front();
    status.led = led_pattern(node.node().root());
    status.root_address = file_word(node, "/tmp/rootap_ip");
    status.status_text = file_word(node, "/tmp/backhaul_status");
    if (air_index(index) < mesh.observation().nodes.size()) {
        status.worker_pid = mesh.observation().nodes[air_index(index)].worker_pid;
    }
    processes_fill(node, status.worker_pid, &status);
    const LinkTracker* const tracker = mesh.tracker(status.name);
    for (const TrackedLink& link : tracker == nullptr ? LinkTracker{}.links : tracker->links) {
        if (link.type == "BACKHAUL_STA" || link.type == "ETHERNET") {
            status.links.push_back(link_status(mesh, node, *tracker, link, uplinks));
        }
    }
    return status;
}

std::string last_failed(const Mesh& mesh, const Player& player) {
    for (auto played = player.played().rbegin(); played != player.played().rend(); ++played) {
        if (!played->good) {
            const ScenarioStep& step = mesh.scenario().steps[played->step];
            return step_place(step, "") + ": " + step_print(step) + " - " + played->text;
        }
    }
    return {};
}

std::string violation_text(const Violation& violation) {
    return violation.rule + " " + violation.node + ": " + violation.text;
}

}  // namespace

MeshStatus mesh_status(const Mesh& mesh, const Player* player) {
    MeshStatus status;
    status.title = mesh.scenario().title;
    status.seconds = mesh.passed();
    status.seed = mesh.scenario().seed;
    status.steps = static_cast<std::int64_t>(mesh.scenario().steps.size());
    if (player != nullptr) {
        status.steps_done = static_cast<std::int64_t>(player->played().size());
        status.failed = player->failures();
        status.last_failed = last_failed(mesh, *player);
    }
    for (const Violation& violation : mesh.violations()) {
        ++(violation.known.empty() ? status.violations : status.known);
        if (violation.known.empty()) {
            status.last_violation = violation_text(violation);
        }
    }
    const std::size_t count = mesh.events().size();
    for (std::size_t at = count > NEWEST_EVENTS ? count - NEWEST_EVENTS : 0; at < count; ++at) {
        status.events.push_back(status_event(mesh.events()[at]));
    }
    for (int index = 0; index < mesh.node_count(); ++index) {
        status.nodes.push_back(node_status(mesh, index));
    }
    return status;
}

StatusEvent status_event(const MeshEvent& event) {
    const bool broken = event.text.starts_with("rule ");
    return {event.is_verb ? "verb"
            : broken      ? "violation"
                          : "change",
            event.time, event.node, event.text};
}

std::string events_text(const Mesh& mesh) {
    std::string text;
    for (const MeshEvent& event : mesh.events()) {
        text += duration_text(event.time) + "  " + event.node + "  " + event.text + "\n";
    }
    return text;
}

std::string violations_text(const Mesh& mesh) {
    std::string text;
    for (const Violation& violation : mesh.violations()) {
        text += duration_text(violation.time - mesh.started()) + "  " + violation_text(violation);
        text += violation.known.empty() ? "\n" : " (known: " + violation.known + ")\n";
    }
    return text;
}

std::string causes_text(const Mesh& mesh) {
    std::string text;
    for (const CauseCount& count : causes_count(mesh.causes())) {
        text += "known cause " + std::string(count.row->name) + ": " + std::to_string(count.times) +
                " times, at most " + std::to_string(count.most) + " in an hour of " +
                std::to_string(count.row->budget) + " (" + std::string(count.row->why) + ")\n";
    }
    return text;
}

Table events_table(const Mesh& mesh) {
    Table table;
    table.columns = {{"TIME", Align::right}, {"NODE"}, {"WHAT HAPPENED"}};
    for (const MeshEvent& event : mesh.events()) {
        const bool broken = event.text.starts_with("rule ");
        table.rows.push_back({{duration_text(event.time)},
                              {event.node},
                              {event.text, broken                        ? Colour::yellow
                                           : event.text == "ready"       ? Colour::green
                                           : event.text == "not ready"   ? Colour::red
                                           : event.text == "uplink none" ? Colour::red
                                                                         : Colour::none}});
    }
    return table;
}

Table outages_table(const Mesh& mesh) {
    Table table;
    table.columns = {{"NODE"},
                     {"READY AFTER", Align::right},
                     {"OUTAGES", Align::right},
                     {"LONGEST", Align::right},
                     {"ALL", Align::right},
                     {"EACH"}};
    const std::int64_t now = mesh.observation().time;
    for (const auto& [name, node] : mesh.outages().nodes) {
        const OutageSummary summary = outage_summary(mesh.outages(), name, now);
        std::string each;
        for (const Outage& outage : node.outages) {
            each += (each.empty() ? "" : ", ") + duration_text(outage_seconds(outage, now)) +
                    (outage.to < 0 ? " so far" : "");
        }
        table.rows.push_back(
            {{name},
             {node.first_ready < 0 ? "never" : duration_text(node.first_ready - mesh.started()),
              node.first_ready < 0 ? Colour::red : Colour::none},
             {std::to_string(summary.count)},
             {duration_text(summary.worst)},
             {duration_text(summary.total)},
             {each, summary.is_out ? Colour::red : Colour::none}});
    }
    return table;
}

std::string differences_text(const Mesh& mesh, const Player& player, const std::string& file) {
    std::string text;
    for (const PlayedStep& played : player.played()) {
        if (!played.good) {
            const ScenarioStep& step = mesh.scenario().steps[played.step];
            text += step_place(step, file) + ": " + step_print(step) + "\n    at " +
                    duration_text(played.time) + ": " + played.text +
                    (played.done.empty() ? "" : " (" + played.done + ")") + "\n";
        }
    }
    return text;
}

}  // namespace lab
