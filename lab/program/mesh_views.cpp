// What a page shows of a held mesh beside its status: the air, the scenario, and a node's commands
// and files.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "lab/air/air_radio.h"
#include "lab/program/mesh_host.h"
#include "lab/scenario/scenario_step.h"

namespace lab {
namespace {

constexpr std::size_t FILE_TEXT_MOST = 4096;
constexpr std::size_t FILES_MOST = 200;

struct BandRow {
    AirBand band;
    std::string_view name;
};
constexpr std::array<BandRow, 3> BANDS = {
    {{AirBand::two, "2"}, {AirBand::five_low, "5l"}, {AirBand::five_high, "5h"}}};

// The beginning of a regular file. Nothing for a FIFO, whose reader would wait.
std::string file_beginning(const std::filesystem::path& path) {
    std::string text(FILE_TEXT_MOST, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text.find('\0') == std::string::npos ? text : "(no text)";
}

void files_of_folder(const std::string& root, const std::string& folder, Json& files) {
    std::error_code failed;
    for (std::filesystem::directory_iterator at(root + folder, failed), end; !failed && at != end;
         at.increment(failed)) {
        std::error_code odd;
        // No link is followed: it would lead out of the node.
        if (files.size() < FILES_MOST &&
            at->symlink_status(odd).type() == std::filesystem::file_type::regular) {
            files.push_back({{"path", folder + "/" + at->path().filename().string()},
                             {"size", at->file_size(odd)},
                             {"text", file_beginning(at->path())}});
        }
    }
}

}  // namespace

Json HeldMesh::links() const {
    const Air& air = mesh_->air();
    Json heard = Json::array();
    for (int a = 0; a < mesh_->node_count(); ++a) {
        for (int b = a + 1; b < mesh_->node_count(); ++b) {
            for (const BandRow& row : BANDS) {
                const int signal = air_signal(air, a, b, row.band);
                if (signal > SIGNAL_NONE) {
                    heard.push_back({{"a", air.nodes[air_index(a)].name},
                                     {"b", air.nodes[air_index(b)].name},
                                     {"band", row.name},
                                     {"signal", signal}});
                }
            }
        }
    }
    Json cables = Json::array();
    for (const AirCable& cable : air.cables) {
        cables.push_back({{"node", air.nodes[air_index(cable.from)].name},
                          {"peer", air.nodes[air_index(cable.to)].name},
                          {"up", cable.up}});
    }
    return {{"air", heard}, {"cables", cables}};
}

Json HeldMesh::steps() const {
    Json steps = Json::array();
    for (const ScenarioStep& step : mesh_->scenario().steps) {
        steps.push_back({{"line", step.line},
                         {"text", step_print(step)},
                         {"fate", "waiting"},
                         {"file", step.file}});
    }
    for (const PlayedStep& played : player_.played()) {
        Json& step = steps[played.step];
        step["fate"] = played.good ? "good" : "failed";
        step["seconds"] = played.time;
        step["found"] = played.text;
    }
    return {{"steps", steps}};
}

Json HeldMesh::lines(const std::string& name, std::size_t last) {
    Lines& known = lines_[name];
    std::vector<LineRecord> news;
    line_records_read(mesh_->node(air_node_find(mesh_->air(), name)).node().root(), &known.offset,
                      &news);
    known.newest.insert(known.newest.end(), news.begin(), news.end());
    while (known.newest.size() > LOG_LINES_AT_ONCE) {
        known.newest.pop_front();
    }
    Json lines = Json::array();
    const std::size_t count = std::min(last, known.newest.size());
    for (std::size_t at = known.newest.size() - count; at < known.newest.size(); ++at) {
        const LineRecord& record = known.newest[at];
        lines.push_back({{"seconds", record.stamp.time - mesh_->started()}, {"text", record.line}});
    }
    return {{"lines", lines}};
}

Json HeldMesh::files(const std::string& name) const {
    const std::string root = mesh_->node(air_node_find(mesh_->air(), name)).node().root();
    Json files = Json::array();
    for (const char* const folder : {"/tmp", "/tmp/vl1905", "/tmp/ApplicationData", "/var/log"}) {
        files_of_folder(root, folder, files);
    }
    std::sort(files.begin(), files.end(),
              [](const Json& a, const Json& b) { return a["path"] < b["path"]; });
    return {{"files", files}};
}

}  // namespace lab
