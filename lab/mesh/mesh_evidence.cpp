#include "lab/mesh/mesh_evidence.h"

#include "lab/mesh/mesh_report.h"
#include "lab/node/evidence.h"
#include "lab/node/flow_log_reader.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

std::string effects_text(const Mesh& mesh) {
    std::string text;
    for (const std::string& effect : mesh.effects()) {
        text += effect + "\n";
    }
    return text;
}

// Of all boots, whose own files ended with their power.
std::string log_text(const Mesh& mesh, const MeshNode& node) {
    std::string text;
    for (const LogEntry& entry : node.log()) {
        text += duration_text(entry.time - mesh.started()) + "  " + entry.text + "\n";
    }
    return text;
}

std::string journal_of(const Mesh& mesh, const MeshNode& node) {
    std::string text;
    for (const JournalEntry& entry : node.journal()) {
        text += duration_text(entry.time - mesh.started()) + "  " + journal_text(entry) + "\n";
    }
    return text;
}

}  // namespace

bool mesh_evidence_write(const Mesh& mesh, const std::string& folder) {
    bool good = file_write(folder + "/scenario.scn", scenario_print(mesh.scenario())) &&
                file_write(folder + "/events", events_text(mesh)) &&
                file_write(folder + "/violations", violations_text(mesh)) &&
                file_write(folder + "/effects", effects_text(mesh));
    for (int index = 0; index < mesh.node_count(); ++index) {
        const MeshNode& node = mesh.node(index);
        evidence_collect(node.node(), folder);
        const std::string to = folder + "/" + node.plan().name;
        good = file_write(to + "/flow_log_of_all_boots", log_text(mesh, node)) &&
               file_write(to + "/journal", journal_of(mesh, node)) && good;
    }
    return good;
}

bool mesh_logs_write(const Mesh& mesh, const std::string& folder) {
    bool good = true;
    for (int index = 0; index < mesh.node_count(); ++index) {
        const MeshNode& node = mesh.node(index);
        std::string text;
        for (const LogEntry& entry : node.log()) {
            text += log_line_join(entry.time, entry.text) + "\n";
        }
        good = file_write(folder + "/" + node.plan().name + "/backhaul_flow_log", text) && good;
    }
    return good;
}

std::vector<std::string> mesh_sanitizer_reports(const Mesh& mesh) {
    std::vector<std::string> reports;
    for (int index = 0; index < mesh.node_count(); ++index) {
        for (const std::string& report : sanitizer_reports(mesh.node(index).node())) {
            reports.push_back(mesh.node(index).plan().name + ": " + report);
        }
    }
    return reports;
}

}  // namespace lab
