#include "lab/mesh/mesh_conditions.h"

#include <algorithm>

#include "lab/air/air_paths.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"
#include "link/link_state.h"
#include "runtime/mode_file.h"

namespace lab {
namespace {

constexpr std::size_t LONGEST_FOUND = 200;

struct Question {
    const Mesh& mesh;
    const Condition& condition;
    int index;
    std::string* found;
    const Mesh::Moment* since;  // null: where the condition looks from by itself
};

const std::string& root_of(const Question& question) {
    return question.mesh.node(question.index).node().root();
}

// The node as it was at the end of the last second; powerless before the first.
NodeObservation seen_of(const Question& question) {
    const auto& nodes = question.mesh.observation().nodes;
    const std::size_t index = air_index(question.index);
    return index < nodes.size() ? nodes[index] : NodeObservation{};
}

std::string in_one_line(std::string text) {
    text = without_line_end(text);
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string first_of(const std::vector<std::string>& names) {
    return names.empty() ? "none" : names.front();
}

std::string status_of(const Question& question) {
    std::string text;
    file_read(question.mesh.node(question.index).node().at("/tmp/backhaul_status"), &text);
    text = without_line_end(text);
    std::replace(text.begin(), text.end(), ' ', '-');
    return text;
}

bool is_in_state(const Question& question, std::int64_t state) {
    const LinkTracker* tracker = question.mesh.tracker(seen_of(question).name);
    std::string states;
    bool holds = false;
    for (const TrackedLink& link : tracker == nullptr ? LinkTracker{}.links : tracker->links) {
        const bool asked = question.condition.interface.empty()
                               ? link.type == "BACKHAUL_STA" || link.type == "ETHERNET"
                               : link.interface == question.condition.interface;
        if (asked) {
            states += (states.empty() ? "" : ", ") + link.interface + " " +
                      (link.is_known ? std::string(link_state_name(link.state)) : "unknown");
            holds = holds || (link.is_known && link.state == state);
        }
    }
    *question.found = "state is " + (states.empty() ? "unknown" : states);
    return holds;
}

std::string parent_of(const Question& question) {
    const int parent = air_paths(question.mesh.air()).parent[air_index(question.index)];
    return parent == NOBODY ? "none" : question.mesh.air().nodes[air_index(parent)].name;
}

std::string hops_of(const Question& question) {
    const int hops = air_paths(question.mesh.air()).hops[air_index(question.index)];
    return hops == NOBODY ? "none" : std::to_string(hops);
}

// As the worker decides it at its start: by the mode file, else by its command line.
std::string role_of(const Question& question) {
    const MeshNode& node = question.mesh.node(question.index);
    std::string word;
    file_read(node.node().at(MODE_FILE_PATH), &word);
    word = without_line_end(word);
    const bool as_root = word == MODE_MASTER || (word != MODE_SLAVE && node.started_as_root());
    const bool runs = seen_of(question).worker_pid != 0;
    return !runs ? "" : as_root ? "root" : "extender";
}

bool file_holds(const Question& question) {
    const std::string& path = question.condition.interface;
    std::string text;
    if (!file_read(question.mesh.node(question.index).node().at(path), &text)) {
        *question.found = "has no " + path;
        return question.condition.text.empty() && question.condition.kind == ConditionKind::file;
    }
    *question.found = path + " holds \"" + in_one_line(text.substr(0, LONGEST_FOUND)) + "\"";
    return text.find(question.condition.text) != std::string::npos;
}

const Mesh::Place& place_of(const Question& question) {
    return question.since == nullptr ? question.mesh.place_of_last_verb(question.index)
                                     : question.since->places[air_index(question.index)];
}

bool log_has(const Question& question) {
    const MeshNode& node = question.mesh.node(question.index);
    const std::uint64_t from = place_of(question).log;
    std::uint64_t number = node.log_first();
    for (const LogEntry& entry : node.log()) {
        if (number++ >= from && entry.text.find(question.condition.text) != std::string::npos) {
            *question.found = "logged \"" + entry.text + "\"";
            return true;
        }
    }
    *question.found = "logged no \"" + question.condition.text + "\"";
    return false;
}

bool shell_has(const Question& question) {
    const MeshNode& node = question.mesh.node(question.index);
    for (const std::string& line : node.shell_since(place_of(question).shell)) {
        if (line.find(question.condition.text) != std::string::npos) {
            *question.found = "ran `" + line.substr(0, LONGEST_FOUND) + "`";
            return true;
        }
    }
    *question.found = "ran no `" + question.condition.text + "`";
    return false;
}

OutageSummary outages_of(const Question& question) {
    return outage_summary(question.mesh.outages(), question.condition.node,
                          question.mesh.observation().time,
                          question.since == nullptr ? 0 : question.since->time);
}

bool outages_hold(const Question& question) {
    const OutageSummary summary = outages_of(question);
    *question.found =
        std::to_string(summary.count) + " outages, the longest " + duration_text(summary.worst);
    return question.condition.kind == ConditionKind::outage
               ? summary.worst < question.condition.number
               : summary.count <= question.condition.number;
}

// Of a condition that asks for one text or number, what is there.
std::string value_of(const Question& question) {
    const NodeObservation seen = seen_of(question);
    switch (question.condition.kind) {
        case ConditionKind::status:
            return status_of(question);
        case ConditionKind::uplink:
            return first_of(seen.uplinks);
        case ConditionKind::parent:
            return parent_of(question);
        case ConditionKind::hops:
            return hops_of(question);
        case ConditionKind::service_aps:
            return seen.service_aps_up.empty() ? "down" : "up";
        case ConditionKind::led:
            return led_pattern(root_of(question));
        case ConditionKind::role:
            return role_of(question);
        case ConditionKind::outage:
            return std::to_string(outages_of(question).worst);
        case ConditionKind::outages:
            return std::to_string(outages_of(question).count);
        case ConditionKind::state:
        case ConditionKind::parked:
        case ConditionKind::file:
        case ConditionKind::no_file:
        case ConditionKind::log:
        case ConditionKind::no_log:
        case ConditionKind::ran:
        case ConditionKind::not_ran:
        case ConditionKind::rule:
            break;
    }
    return {};
}

bool value_holds(const Question& question) {
    const Condition& condition = question.condition;
    const std::string wanted = condition.kind == ConditionKind::uplink ? condition.interface
                               : condition.kind == ConditionKind::hops
                                   ? std::to_string(condition.number)
                                   : condition.text;
    const std::string is = value_of(question);
    const std::string_view name = condition_table()[static_cast<std::size_t>(condition.kind)].name;
    *question.found = std::string(name) + " is " + (is.empty() ? "nothing" : is);
    return is == wanted;
}

bool holds_at(const Question& question) {
    switch (question.condition.kind) {
        case ConditionKind::status:
        case ConditionKind::uplink:
        case ConditionKind::parent:
        case ConditionKind::hops:
        case ConditionKind::service_aps:
        case ConditionKind::led:
        case ConditionKind::role:
            return value_holds(question);
        case ConditionKind::state:
            return is_in_state(question, question.condition.number);
        case ConditionKind::parked:
            return is_in_state(question, CONNECT_PENDING);
        case ConditionKind::file:
            return file_holds(question);
        case ConditionKind::no_file:
            return !file_holds(question);
        case ConditionKind::log:
            return log_has(question);
        case ConditionKind::no_log:
            return !log_has(question);
        case ConditionKind::ran:
            return shell_has(question);
        case ConditionKind::not_ran:
            return !shell_has(question);
        case ConditionKind::outage:
        case ConditionKind::outages:
            return outages_hold(question);
        case ConditionKind::rule:
            break;
    }
    return false;
}

bool rule_holds(const Mesh& mesh, const Condition& condition, const Mesh::Moment* since,
                std::string* found) {
    const std::size_t from = since == nullptr ? 0 : since->violations;
    for (const RuleCount& count : rules_count(std::span(mesh.violations()).subspan(from))) {
        if (count.rule == condition.node) {
            *found = "rule " + condition.node + " was broken " + std::to_string(count.unknown) +
                     " times, and " + std::to_string(count.known) + " times in a known way";
            return count.unknown == 0 && (condition.text == "known" || count.known == 0);
        }
    }
    *found = "there is no such rule";
    return false;
}

// Whether it is so, or not so, for every node that the condition names.
bool is_for_every(bool so, const Mesh& mesh, const Condition& condition, std::string* found,
                  const Mesh::Moment* since) {
    if (!condition.since.empty()) {
        since = mesh.mark_find(condition.since);
        if (since == nullptr) {
            *found = "the mark " + condition.since + " has not been reached";
            return false;
        }
    }
    if (condition.kind == ConditionKind::rule) {
        return rule_holds(mesh, condition, since, found) == so;
    }
    for (int index = 0; index < mesh.node_count(); ++index) {
        const AirNode& node = mesh.air().nodes[air_index(index)];
        const bool asked =
            condition.node == ALL_NODES ? !node.is_root : condition.node == node.name;
        Condition of_node = condition;
        of_node.node = node.name;
        if (!asked) {
            continue;
        }
        const bool holds = holds_at({mesh, of_node, index, found, since});
        *found = node.name + " " + *found;
        if (holds != so) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool mesh_condition_holds(const Mesh& mesh, const Condition& condition, std::string* found,
                          const Mesh::Moment* since) {
    return is_for_every(true, mesh, condition, found, since);
}

bool mesh_condition_fails(const Mesh& mesh, const Condition& condition, std::string* found,
                          const Mesh::Moment* since) {
    return is_for_every(false, mesh, condition, found, since);
}

std::string mesh_condition_value(const Mesh& mesh, const Condition& condition) {
    std::string nobody_asks;
    const Mesh::Moment* const since =
        condition.since.empty() ? nullptr : mesh.mark_find(condition.since);
    return value_of(
        {mesh, condition, air_node_find(mesh.air(), condition.node), &nobody_asks, since});
}

}  // namespace lab
