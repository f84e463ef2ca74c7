// How long meshes of several sizes take to come up on this machine, what of it the lab itself
// takes, how much memory they need, and how many seconds of their nodes pass in one of ours: at
// rest and in a storm of losses. Sizes may be given as arguments.
//
// The daemons' part grows with the square of the nodes: everybody reads everybody's messages, and
// each is a program of its own. Floors of the same run: for the time, the same number of shell
// lines run one after the other with nothing in them, and for each second of a node one thread
// woken by another; for the memory, the same nodes before any daemon runs.

#include <semaphore.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "lab/mesh/mesh.h"
#include "lab/mesh/mesh_conditions.h"
#include "lab/mesh/mesh_place.h"
#include "lab/node/processes.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/verb.h"
#include "lab/tools/small_file.h"

namespace {

constexpr int CHILDREN = 7;  // of the root and of each of its children
constexpr std::array SIZES = {1, 8, 32, 128};
constexpr int LONGEST_SECONDS = 900;
constexpr int SHELL_LINES = 300;
constexpr int WAKE_UPS = 20000;
constexpr int MEASURED_SECONDS = 600;
constexpr int STORM_PERIOD = 15;  // seconds from one blow to the next
constexpr int STORM_SHARE = 3;    // one extender of so many loses its station at each blow

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

lab::Scenario mesh_of(int nodes) {
    int grandchildren = 1;
    while (1 + CHILDREN * (1 + grandchildren) < nodes) {
        ++grandchildren;
    }
    lab::Scenario scenario = lab::scenario_tree(CHILDREN, grandchildren);
    scenario.nodes.resize(static_cast<std::size_t>(nodes));
    std::erase_if(scenario.hearings, [&scenario](const lab::ScenarioHearing& hearing) {
        return lab::scenario_node_find(scenario, hearing.a) == nullptr ||
               lab::scenario_node_find(scenario, hearing.b) == nullptr;
    });
    return scenario;
}

/// Processor time of this process, which is the lab's own.
double own_seconds() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
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

/// Seconds that it takes to wake a thread and to be woken by it.
double wake_up_seconds() {
    std::array<sem_t, 2> calls{};
    for (sem_t& call : calls) {
        sem_init(&call, 0, 0);
    }
    std::thread other([&calls] {
        for (int round = 0; round < WAKE_UPS; ++round) {
            sem_wait(calls.data());
            sem_post(&calls[1]);
        }
    });
    const Clock::time_point start = Clock::now();
    for (int round = 0; round < WAKE_UPS; ++round) {
        sem_post(calls.data());
        sem_wait(&calls[1]);
    }
    other.join();
    return seconds_since(start) / WAKE_UPS;
}

bool blow(lab::Mesh* mesh, int round, std::string& error) {
    for (int index = 1; index < mesh->node_count(); ++index) {
        lab::Verb verb;
        verb.kind = lab::VerbKind::deauth;
        verb.node = mesh->node(index).plan().name;
        std::string note;
        if (index % STORM_SHARE == round % STORM_SHARE && !mesh->verb(verb, &note, error)) {
            return false;
        }
    }
    return true;
}

/// Lets time pass and prints how fast it went.
bool pass(lab::Mesh* mesh, bool storm, std::string& error) {
    const std::size_t lines_before = shell_lines(*mesh);
    const Clock::time_point start = Clock::now();
    for (int second = 0; second < MEASURED_SECONDS; ++second) {
        if ((storm && second % STORM_PERIOD == 0 && !blow(mesh, second / STORM_PERIOD, error)) ||
            !mesh->second(error)) {
            return false;
        }
    }
    const double took = seconds_since(start);
    const double node_seconds = static_cast<double>(MEASURED_SECONDS) * mesh->node_count();
    const std::size_t lines = shell_lines(*mesh) - lines_before;
    const double floor =
        static_cast<double>(lines) * empty_line_seconds() + node_seconds * wake_up_seconds();
    std::printf(
        "  %s: %.0f seconds of a node in a second; %zu shell lines and the wake-ups alone "
        "take %.2f of %.2f s: ratio %.2f\n",
        storm ? "in a storm of losses" : "at rest", node_seconds / took, lines, floor, took,
        took / floor);
    return true;
}

bool all_ready(const lab::Mesh& mesh) {
    lab::Condition ready;
    ready.node = lab::ALL_NODES;
    ready.text = "ready";
    std::string found;
    return lab::mesh_condition_holds(mesh, ready, &found);
}

int measure(const lab::ProgramPlace& place, int nodes, std::string& error) {
    const lab::Scenario scenario = mesh_of(nodes);
    Clock::time_point start = Clock::now();
    const std::unique_ptr<lab::Mesh> mesh =
        lab::Mesh::make(scenario, lab::mesh_options_of(place, scenario), error);
    if (mesh == nullptr) {
        return -1;
    }
    const double made = seconds_since(start);
    const long memory_before = memory_kb(*mesh);
    start = Clock::now();
    const double own_before = own_seconds();
    while (mesh->passed() == 0 || !all_ready(*mesh)) {
        if (mesh->passed() > LONGEST_SECONDS) {
            error = "the mesh is not ready after 15 minutes of its time";
            return -1;
        }
        if (!mesh->second(error)) {
            return -1;
        }
    }
    const double up = seconds_since(start);
    const double own = own_seconds() - own_before;
    const std::size_t lines = shell_lines(*mesh);
    const double floor = static_cast<double>(lines) * empty_line_seconds();
    const long memory = memory_kb(*mesh);
    std::printf("mesh of %d nodes: made in %.2f s, up in %.2f s (%lld s of its own time)\n",
                mesh->node_count(), made, up, static_cast<long long>(mesh->passed()));
    std::printf("  the lab itself %.2f s of a processor, %.1f ms a node, %.3f ms a shell line\n",
                own, 1000 * own / mesh->node_count(), 1000 * own / static_cast<double>(lines));
    std::printf("  %zu shell lines; as many empty ones take %.2f s: ratio %.2f\n", lines, floor,
                up / floor);
    std::printf("  memory %ld kB, %ld kB a node; without daemons %ld kB: ratio %.2f\n", memory,
                memory / mesh->node_count(), memory_before,
                static_cast<double>(memory) / static_cast<double>(std::max(memory_before, 1L)));
    return pass(mesh.get(), false, error) && pass(mesh.get(), true, error) ? 0 : -1;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<int> sizes;
    for (int at = 1; at < argc; ++at) {
        sizes.push_back(std::atoi(argv[at]));
    }
    if (sizes.empty()) {
        sizes.assign(SIZES.begin(), SIZES.end());
    }
    const lab::ProgramPlace place = [] {
        // The lab's programs lie beside the folder of the benchmarks.
        lab::ProgramPlace beside = lab::program_place();
        beside.programs = beside.build + "/lab";
        return beside;
    }();
    std::string error;
    bool good = lab::mesh_sandbox_enter(place, {}, error);
    for (const int nodes : sizes) {
        good = good && nodes >= 1 && measure(place, nodes, error) == 0;
        std::fflush(stdout);
    }
    if (!good) {
        std::fprintf(stderr, "bench_mesh: %s\n", error.empty() ? "a node at least" : error.c_str());
    }
    return good ? 0 : 1;
}
