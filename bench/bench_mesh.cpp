// How long a mesh of 32 nodes takes to come up on this machine, and how much memory it needs.
//
// Floors of the same run: for the time, the same number of shell lines run one after the other with
// nothing in them; for the memory, the same nodes before any daemon runs.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "lab/mesh/mesh.h"
#include "lab/mesh/mesh_conditions.h"
#include "lab/mesh/mesh_place.h"
#include "lab/node/processes.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/tools/small_file.h"

namespace {

constexpr int CHILDREN = 7;
constexpr int GRANDCHILDREN = 4;  // with 7 + 24 of them and the root 32 nodes
constexpr std::size_t NODES = 32;
constexpr int LONGEST_SECONDS = 900;
constexpr int SHELL_LINES = 300;

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

lab::Scenario mesh_of_32() {
    lab::Scenario scenario = lab::scenario_tree(CHILDREN, GRANDCHILDREN);
    scenario.nodes.resize(NODES);
    std::erase_if(scenario.hearings, [&scenario](const lab::ScenarioHearing& hearing) {
        return lab::scenario_node_find(scenario, hearing.a) == nullptr ||
               lab::scenario_node_find(scenario, hearing.b) == nullptr;
    });
    return scenario;
}

/// Memory of a process, shared pages counted in parts, in kB.
long memory_kb(pid_t pid) {
    std::string text;
    lab::file_read("/proc/" + std::to_string(pid) + "/smaps_rollup", &text);
    const std::size_t at = text.find("\nPss:");
    return at == std::string::npos ? 0 : std::strtol(text.c_str() + at + 5, nullptr, 10);
}

long memory_kb(const lab::Mesh& mesh) {
    long sum = 0;
    for (int index = 0; index < mesh.node_count(); ++index) {
        for (const lab::ProcessInfo& process : lab::node_processes(mesh.node(index).node())) {
            sum += memory_kb(process.pid);
        }
    }
    return sum;
}

std::size_t shell_lines(const lab::Mesh& mesh) {
    std::size_t lines = 0;
    for (int index = 0; index < mesh.node_count(); ++index) {
        lines += mesh.node(index).shell_since(0).size();
    }
    return lines;
}

/// Seconds that one empty line takes in the shell.
double empty_line_seconds() {
    const Clock::time_point start = Clock::now();
    int failed = 0;
    for (int line = 0; line < SHELL_LINES; ++line) {
        failed += std::system(":") == 0 ? 0 : 1;
    }
    return failed == 0 ? seconds_since(start) / SHELL_LINES : 0;
}

bool all_ready(const lab::Mesh& mesh) {
    lab::Condition ready;
    ready.node = lab::ALL_NODES;
    ready.text = "ready";
    std::string found;
    return lab::mesh_condition_holds(mesh, ready, &found);
}

int measure(const lab::ProgramPlace& place, std::string& error) {
    const lab::Scenario scenario = mesh_of_32();
    Clock::time_point start = Clock::now();
    const std::unique_ptr<lab::Mesh> mesh =
        lab::Mesh::make(scenario, lab::mesh_options_of(place, scenario), error);
    if (mesh == nullptr) {
        return -1;
    }
    const double made = seconds_since(start);
    const long memory_before = memory_kb(*mesh);
    start = Clock::now();
    while (mesh->passed() == 0 || !all_ready(*mesh)) {
        if (mesh->passed() > LONGEST_SECONDS) {
            error = "the mesh is not ready after 15 minutes of its time";
            return -1;
        }
        if (mesh->second(error) != 0) {
            return -1;
        }
    }
    const double up = seconds_since(start);
    const std::size_t lines = shell_lines(*mesh);
    const double floor = static_cast<double>(lines) * empty_line_seconds();
    const long memory = memory_kb(*mesh);
    std::printf("mesh of %d nodes: made in %.2f s, up in %.2f s (%lld s of its own time)\n",
                mesh->node_count(), made, up, static_cast<long long>(mesh->passed()));
    std::printf("  %zu shell lines; as many empty ones take %.2f s: ratio %.2f\n", lines, floor,
                up / floor);
    std::printf("  memory %ld kB, %ld kB a node; without daemons %ld kB: ratio %.2f\n", memory,
                memory / mesh->node_count(), memory_before,
                static_cast<double>(memory) / static_cast<double>(std::max(memory_before, 1L)));
    return 0;
}

}  // namespace

int main() {
    const lab::ProgramPlace place = [] {
        // The lab's programs lie beside the folder of the benchmarks.
        lab::ProgramPlace beside = lab::program_place();
        beside.programs = beside.build + "/lab";
        return beside;
    }();
    std::string error;
    if (lab::mesh_sandbox_enter(place, {}, error) != 0 || measure(place, error) != 0) {
        std::fprintf(stderr, "bench_mesh: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
