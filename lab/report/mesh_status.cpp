#include "lab/report/mesh_status.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <type_traits>

#include "lab/report/outage.h"

namespace lab {
namespace {

template <typename Struct, typename Same>
concept SameBut = std::same_as<std::remove_const_t<Struct>, Same>;

// Every field by its name in JSON, once for both directions: the struct is const for writing.
template <typename Visit, SameBut<LinkStatus> Status>
void fields_visit(Status& link, const Visit& visit) {
    visit("interface", link.interface);
    visit("state", link.state);
    visit("state_name", link.state_name);
    visit("seconds", link.seconds);
    visit("losses", link.losses);
    visit("parked", link.parked);
    visit("carries", link.carries);
}

template <typename Visit, SameBut<NodeStatus> Status>
void fields_visit(Status& node, const Visit& visit) {
    visit("name", node.name);
    visit("power", node.power);
    visit("role", node.role);
    visit("is_root", node.is_root);
    visit("status", node.status_text);
    visit("uplink", node.uplink);
    visit("parent", node.parent);
    visit("hops", node.hops);
    visit("links", node.links);
    visit("service_aps_up", node.service_aps_up);
    visit("service_aps", node.service_aps);
    visit("led", node.led);
    visit("root_address", node.root_address);
    visit("outage_seconds", node.outage);
    visit("outages", node.outages);
    visit("outage_seconds_all", node.outage_all);
    visit("outage_list", node.outage_list);
    visit("worker_pid", node.worker_pid);
    visit("cpu_ms", node.cpu_ms);
    visit("resident_kb", node.resident_kb);
    visit("messages_dropped", node.messages_dropped);
    visit("aps_silenced", node.aps_silenced);
    visit("has_cable", node.has_cable);
}

template <typename Visit, SameBut<Outage> Status>
void fields_visit(Status& outage, const Visit& visit) {
    visit("from", outage.from);
    visit("to", outage.to);
}

template <typename Visit, SameBut<StatusEvent> Status>
void fields_visit(Status& event, const Visit& visit) {
    visit("kind", event.kind);
    visit("seconds", event.seconds);
    visit("node", event.node);
    visit("text", event.text);
}

template <typename Visit, SameBut<MeshStatus> Status>
void fields_visit(Status& mesh, const Visit& visit) {
    visit("title", mesh.title);
    visit("seconds", mesh.seconds);
    visit("seed", mesh.seed);
    visit("speed", mesh.pace.speed);
    visit("paused", mesh.pace.paused);
    visit("hurries", mesh.pace.hurries);
    visit("stalled", mesh.pace.stalled);
    visit("steps_done", mesh.steps_done);
    visit("steps", mesh.steps);
    visit("failed", mesh.failed);
    visit("last_failed", mesh.last_failed);
    visit("violations", mesh.violations);
    visit("violations_known", mesh.known);
    visit("last_violation", mesh.last_violation);
    visit("events", mesh.events);
    visit("nodes", mesh.nodes);
}

std::string power_text(NodePower power) {
    switch (power) {
        case NodePower::off:
            return "off";
        case NodePower::booting:
            return "booting";
        case NodePower::on:
            return "on";
    }
    return "";
}

std::string or_dash(const std::string& text) {
    return text.empty() ? "-" : text;
}

/// A root without upstream is "root", whatever else its link table says.
TableCell role_cell(const NodeStatus& node) {
    if (node.power != NodePower::on) {
        return {power_text(node.power), Colour::grey};
    }
    return {or_dash(node.role), node.is_root ? Colour::bold : Colour::none};
}

Colour status_colour(const NodeStatus& node) {
    if (node.status_text == "ready") {
        return Colour::green;
    }
    if (node.status_text == "connected") {
        return Colour::yellow;
    }
    return node.is_root ? Colour::none : Colour::red;
}

TableCell uplink_cell(const NodeStatus& node) {
    if (node.uplink == "none" || node.uplink.empty()) {
        return {"none", node.is_root ? Colour::grey : Colour::red};
    }
    return {node.parent.empty() ? node.uplink : node.uplink + " > " + node.parent};
}

TableCell aps_cell(const NodeStatus& node) {
    const Colour colour = node.service_aps_up == node.service_aps ? Colour::none : Colour::yellow;
    return {std::to_string(node.service_aps_up) + "/" + std::to_string(node.service_aps), colour};
}

TableCell outage_cell(const NodeStatus& node) {
    if (node.outage >= 0) {
        return {duration_text(node.outage), Colour::red};
    }
    return {"-", Colour::grey};
}

int losses_of(const NodeStatus& node) {
    int losses = 0;
    for (const LinkStatus& link : node.links) {
        losses += link.losses;
    }
    return losses;
}

std::string parked_of(const NodeStatus& node) {
    std::string parked;
    for (const LinkStatus& link : node.links) {
        if (link.parked) {
            parked += (parked.empty() ? "" : " ") + link.interface;
        }
    }
    return parked;
}

std::vector<TableCell> status_row(const NodeStatus& node) {
    if (node.power != NodePower::on) {
        return {{node.name, Colour::bold}, role_cell(node)};
    }
    const LinkStatus* link = node_main_link(node);
    const std::string parked = parked_of(node);
    return {{node.name, Colour::bold},
            role_cell(node),
            {or_dash(node.status_text), status_colour(node)},
            outage_cell(node),
            uplink_cell(node),
            {node.hops < 0 ? "-" : std::to_string(node.hops)},
            {link == nullptr ? "-" : link->interface + " " + state_text(*link)},
            {link == nullptr || link->state < 0 ? "-" : duration_text(link->seconds)},
            {std::to_string(losses_of(node))},
            {or_dash(parked), parked.empty() ? Colour::grey : Colour::yellow},
            aps_cell(node),
            {or_dash(node.led)},
            {or_dash(node.root_address)}};
}

}  // namespace

// Found by the library by their names.
void to_json(Json& json, NodePower power) {
    json = power_text(power);
}

void from_json(const Json& json, NodePower& power) {
    for (const NodePower each : {NodePower::off, NodePower::booting, NodePower::on}) {
        power = json == power_text(each) ? each : power;
    }
}

template <typename Struct>
requires requires(const Struct& value) {
    fields_visit(value, [](const char*, const auto&) {});
}
void to_json(Json& json, const Struct& value) {
    fields_visit(value, [&json](const char* name, const auto& field) { json[name] = field; });
}

template <typename Struct>
requires requires(Struct& value) {
    fields_visit(value, [](const char*, auto&) {});
}
void from_json(const Json& json, Struct& value) {
    fields_visit(value, [&json](const char* name, auto& field) {
        const auto found = json.find(name);
        if (found != json.end()) {
            found->get_to(field);
        }
    });
}

const LinkStatus* node_main_link(const NodeStatus& node) {
    // Idle (0), parked (6) and the wire's resting states tell less than what is on its way.
    const auto weight = [](const LinkStatus& link) {
        constexpr std::array<std::int32_t, 4> RESTING = {0, 6, 13, 16};
        if (link.interface == "timer" || link.state < 0) {
            return 0;
        }
        if (link.carries) {
            return 4;
        }
        const bool rests = std::ranges::find(RESTING, link.state) != RESTING.end();
        const bool is_watched_ap = link.state >= 10 && link.state <= 12;
        return rests || is_watched_ap ? 1 : 3;
    };
    const LinkStatus* main = nullptr;
    for (const LinkStatus& link : node.links) {
        if (weight(link) > (main == nullptr ? 0 : weight(*main))) {
            main = &link;
        }
    }
    return main;
}

std::string state_text(const LinkStatus& link) {
    if (link.state < 0) {
        return "-";
    }
    return link.state_name.empty() || link.state_name == "-" ? "state " + std::to_string(link.state)
                                                             : link.state_name;
}

Table status_table(const MeshStatus& status) {
    Table table;
    table.columns = {{"NODE"},
                     {"ROLE"},
                     {"STATUS"},
                     {"OUT", Align::right},
                     {"UPLINK"},
                     {"HOPS", Align::right},
                     {"STATE"},
                     {"FOR", Align::right},
                     {"LOSSES", Align::right},
                     {"PARKED"},
                     {"APS", Align::right},
                     {"LED"},
                     {"ROOT"}};
    for (const NodeStatus& node : status.nodes) {
        table.rows.push_back(status_row(node));
    }
    return table;
}

Table node_table(const NodeStatus& node) {
    Table table;
    table.columns = {{"INTERFACE"}, {"STATE"}, {"FOR", Align::right}, {"LOSSES", Align::right}, {}};
    for (const LinkStatus& link : node.links) {
        table.rows.push_back({{link.interface, link.carries ? Colour::green : Colour::none},
                              {state_text(link)},
                              {link.state < 0 ? "-" : duration_text(link.seconds)},
                              {std::to_string(link.losses)},
                              {link.parked    ? "parked"
                               : link.carries ? "carries traffic"
                                              : ""}});
    }
    return table;
}

std::string status_headline(const MeshStatus& status) {
    const auto ready = std::ranges::count_if(
        status.nodes, [](const NodeStatus& node) { return node.status_text == "ready"; });
    std::string line = status.title.empty() ? "" : status.title + "   ";
    line += duration_text(status.seconds) + "   " + std::to_string(status.nodes.size()) +
            " nodes, " + std::to_string(ready) + " ready";
    if (status.steps > 0) {
        line +=
            "   steps " + std::to_string(status.steps_done) + "/" + std::to_string(status.steps);
    }
    if (status.failed > 0) {
        line += "   failed " + std::to_string(status.failed);
    }
    line += "   violations " + std::to_string(status.violations);
    if (status.known > 0) {
        line += " (and " + std::to_string(status.known) + " known)";
    }
    return line;
}

Json status_json(const MeshStatus& status) {
    return status;
}

bool status_read(const Json& json, MeshStatus& status, std::string& error) {
    try {
        json.get_to(status);
    } catch (const Json::exception& failure) {
        error = failure.what();
        return false;
    }
    return true;
}

}  // namespace lab
