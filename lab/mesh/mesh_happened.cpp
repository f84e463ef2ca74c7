// What was done to a mesh and what came of it, in one table.
#include <map>

#include "lab/mesh/mesh_report.h"

namespace lab {
namespace {

struct Row {
    const MeshEvent* verb = nullptr;  // null: before any
    std::vector<std::pair<std::string, Outage>> outages;
};

// The last verb at or before that second; several of one second share what follows with the last.
std::size_t row_of(const std::vector<Row>& rows, std::int64_t time) {
    std::size_t at = 0;
    while (at + 1 < rows.size() && rows[at + 1].verb->time <= time) {
        ++at;
    }
    return at;
}

std::vector<Row> rows_of(const Mesh& mesh) {
    std::vector<Row> rows(1);
    for (const MeshEvent& event : mesh.events()) {
        if (event.is_verb) {
            rows.push_back({&event, {}});
        }
    }
    for (const auto& [name, node] : mesh.outages().nodes) {
        for (const Outage& outage : node.outages) {
            rows[row_of(rows, outage.from - mesh.started())].outages.emplace_back(name, outage);
        }
    }
    return rows;
}

// What carried the node's traffic at that second.
std::string uplink_at(const Mesh& mesh, const std::string& node, std::int64_t time) {
    constexpr std::string_view UPLINK = "uplink ";
    std::string uplink;
    for (const MeshEvent& event : mesh.events()) {
        if (event.time <= time && event.node == node && event.text.starts_with(UPLINK)) {
            uplink = event.text.substr(UPLINK.size());
        }
    }
    return uplink;
}

void outage_add(const Mesh& mesh, const std::string& name, const Outage& outage, Table* table) {
    const std::int64_t now = mesh.observation().time;
    std::vector<TableCell>& row = table->rows.back();
    row.emplace_back(name);
    row.emplace_back(duration_text(outage_seconds(outage, now)) + (outage.to < 0 ? " so far" : ""),
                     outage.to < 0 ? Colour::red : Colour::none);
    row.emplace_back(outage.to < 0 ? "" : uplink_at(mesh, name, outage.to - mesh.started()));
}

}  // namespace

Table happened_table(const Mesh& mesh) {
    Table table;
    table.columns = {{"TIME", Align::right},
                     {"WHAT HAPPENED"},
                     {"NODE"},
                     {"OUT FOR", Align::right},
                     {"THEN OVER"}};
    for (const Row& row : rows_of(mesh)) {
        if (row.verb == nullptr && row.outages.empty()) {
            continue;
        }
        table.rows.push_back({});
        table.rows.back() = {row.verb == nullptr ? TableCell("") : duration_text(row.verb->time),
                             row.verb == nullptr ? TableCell("") : row.verb->text};
        bool first = true;
        for (const auto& [name, outage] : row.outages) {
            if (!first) {
                table.rows.push_back({{""}, {""}});
            }
            first = false;
            outage_add(mesh, name, outage, &table);
        }
    }
    return table;
}

}  // namespace lab
