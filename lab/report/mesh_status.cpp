#include "lab/report/mesh_status.h"

#include <algorithm>
#include <array>

#include "lab/report/outage.h"

namespace lab {
namespace {

std::string power_text(NodePower power) {
    switch (power) {
        case NodePower::OFF:
            return "off";
        case NodePower::BOOTING:
            return "booting";
        case NodePower::ON:
            return "on";
    }
    return "";
}

std::string or_dash(const std::string& text) {
    return text.empty() ? "-" : text;
}

/// A root without upstream is "root", whatever else its link table says.
TableCell role_cell(const NodeStatus& node) {
    if (node.power != NodePower::ON) {
        return {power_text(node.power), Colour::GREY};
    }
    return {or_dash(node.role), node.is_root ? Colour::BOLD : Colour::NONE};
}

Colour status_colour(const NodeStatus& node) {
    if (node.status_text == "ready") {
        return Colour::GREEN;
    }
    if (node.status_text == "connected") {
        return Colour::YELLOW;
    }
    return node.is_root ? Colour::NONE : Colour::RED;
}

TableCell uplink_cell(const NodeStatus& node) {
    if (node.uplink == "none" || node.uplink.empty()) {
        return {"none", node.is_root ? Colour::GREY : Colour::RED};
    }
    return {node.parent.empty() ? node.uplink : node.uplink + " > " + node.parent};
}

TableCell aps_cell(const NodeStatus& node) {
    const Colour colour = node.service_aps_up == node.service_aps ? Colour::NONE : Colour::YELLOW;
    return {std::to_string(node.service_aps_up) + "/" + std::to_string(node.service_aps), colour};
}

TableCell outage_cell(const NodeStatus& node) {
    if (node.outage >= 0) {
        return {duration_text(node.outage), Colour::RED};
    }
    return {"-", Colour::GREY};
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
    if (node.power != NodePower::ON) {
        return {{node.name, Colour::BOLD}, role_cell(node)};
    }
    const LinkStatus* link = node_main_link(node);
    const std::string parked = parked_of(node);
    return {{node.name, Colour::BOLD},
            role_cell(node),
            {or_dash(node.status_text), status_colour(node)},
            outage_cell(node),
            uplink_cell(node),
            {node.hops < 0 ? "-" : std::to_string(node.hops)},
            {link == nullptr ? "-" : link->interface + " " + state_text(*link)},
            {link == nullptr || link->state < 0 ? "-" : duration_text(link->seconds)},
            {std::to_string(losses_of(node))},
            {or_dash(parked), parked.empty() ? Colour::GREY : Colour::YELLOW},
            aps_cell(node),
            {or_dash(node.led)},
            {or_dash(node.root_address)}};
}

void link_write(const LinkStatus& link, JsonWriter* json) {
    json->object_begin();
    json->key("interface").value(link.interface);
    json->key("state").value(link.state);
    json->key("state_name").value(link.state_name);
    json->key("seconds").value(link.seconds);
    json->key("losses").value(link.losses);
    json->key("parked").value(link.parked);
    json->key("carries").value(link.carries);
    json->object_end();
}

void node_write(const NodeStatus& node, JsonWriter* json) {
    json->object_begin();
    json->key("name").value(node.name);
    json->key("power").value(power_text(node.power));
    json->key("role").value(node.role);
    json->key("is_root").value(node.is_root);
    json->key("status").value(node.status_text);
    json->key("uplink").value(node.uplink);
    json->key("parent").value(node.parent);
    json->key("hops").value(node.hops);
    json->key("links").array_begin();
    for (const LinkStatus& link : node.links) {
        link_write(link, json);
    }
    json->array_end();
    json->key("service_aps_up").value(node.service_aps_up);
    json->key("service_aps").value(node.service_aps);
    json->key("led").value(node.led);
    json->key("root_address").value(node.root_address);
    json->key("outage_seconds").value(node.outage);
    json->key("outages").value(node.outages);
    json->key("outage_seconds_all").value(node.outage_all);
    json->key("worker_pid").value(node.worker_pid);
    json->key("cpu_ms").value(node.cpu_ms);
    json->key("resident_kb").value(node.resident_kb);
    json->key("messages_dropped").value(node.messages_dropped);
    json->key("aps_silenced").value(node.aps_silenced);
    json->key("has_cable").value(node.has_cable);
    json->object_end();
}

}  // namespace

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
                     {"OUT", Align::RIGHT},
                     {"UPLINK"},
                     {"HOPS", Align::RIGHT},
                     {"STATE"},
                     {"FOR", Align::RIGHT},
                     {"LOSSES", Align::RIGHT},
                     {"PARKED"},
                     {"APS", Align::RIGHT},
                     {"LED"},
                     {"ROOT"}};
    for (const NodeStatus& node : status.nodes) {
        table.rows.push_back(status_row(node));
    }
    return table;
}

Table node_table(const NodeStatus& node) {
    Table table;
    table.columns = {{"INTERFACE"}, {"STATE"}, {"FOR", Align::RIGHT}, {"LOSSES", Align::RIGHT}, {}};
    for (const LinkStatus& link : node.links) {
        table.rows.push_back({{link.interface, link.carries ? Colour::GREEN : Colour::NONE},
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

void status_write(const MeshStatus& status, JsonWriter* json) {
    json->object_begin();
    json->key("title").value(status.title);
    json->key("seconds").value(status.seconds);
    json->key("seed").value(static_cast<std::int64_t>(status.seed));
    json->key("steps_done").value(status.steps_done);
    json->key("steps").value(status.steps);
    json->key("failed").value(status.failed);
    json->key("last_failed").value(status.last_failed);
    json->key("violations").value(status.violations);
    json->key("violations_known").value(status.known);
    json->key("last_violation").value(status.last_violation);
    json->key("nodes").array_begin();
    for (const NodeStatus& node : status.nodes) {
        node_write(node, json);
    }
    json->array_end();
    json->object_end();
}

std::string status_json(const MeshStatus& status) {
    JsonWriter json;
    status_write(status, &json);
    return json.text();
}

}  // namespace lab
