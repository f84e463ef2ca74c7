// The demonstration: the scenarios that are named, else a daemon's life and a whole mesh, each told
// step by step with the daemons' own evidence. Exits 0 only when everything was seen.
//
//     backhaul_lab_demo [--logs FOLDER] [FILE...]
//
// leaves the flow log of each node of the last one below FOLDER.

#include <unistd.h>

#include <cstdio>
#include <vector>

#include "lab/demo/narrator.h"
#include "lab/node/evidence.h"
#include "lab/report/table.h"
#include "lab/scenario/scenario_file.h"

namespace {

bool tell_all(const std::vector<lab::Scenario>& scenarios, lab::Tale* tale, std::string& error) {
    const lab::ProgramPlace place = lab::program_place();
    if (!lab::evidence_place_open("", lab::EVIDENCE_FOLDER, &tale->left, error) ||
        !lab::mesh_sandbox_enter(place, {}, error)) {
        return false;
    }
    for (const lab::Scenario& scenario : scenarios) {
        const bool is_last = &scenario == &scenarios.back();
        if (!lab::scenario_tell(scenario, place, is_last, tale, error)) {
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> files(argv + 1, argv + argc);
    std::string logs;
    if (files.size() > 1 && files[0] == "--logs") {
        logs = files[1];
        files.erase(files.begin(), files.begin() + 2);
    }
    if (files.empty()) {
        files = {BACKHAUL_SCENARIOS "/18-one-daemon.scn",
                 BACKHAUL_SCENARIOS "/17-demonstration.scn"};
    }
    std::vector<lab::Scenario> scenarios(files.size());
    std::string error;
    setvbuf(stdout, nullptr, _IOLBF, 0);
    for (std::size_t at = 0; at < files.size(); ++at) {
        if (!lab::scenario_file_read(files[at], &scenarios[at], error)) {
            fprintf(stderr, "%s\n", error.c_str());
            return 2;
        }
    }
    lab::Tale tale;
    if (!logs.empty() && !tale.logs.open(logs, error)) {
        fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
    tale.in_colour = isatty(STDOUT_FILENO) != 0;
    const bool good = tell_all(scenarios, &tale, error);
    printf("\n%s: %d steps, %d pieces of evidence\n%s%s",
           lab::coloured(good ? "every step was seen" : "NOT everything was seen",
                         good ? lab::Colour::green : lab::Colour::red, tale.in_colour)
               .c_str(),
           tale.steps, tale.evidence, error.c_str(), error.empty() ? "" : "\n");
    return good ? 0 : 1;
}
