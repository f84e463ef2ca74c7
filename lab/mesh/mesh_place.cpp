#include "lab/mesh/mesh_place.h"

#include <cstdlib>
#include <filesystem>

#include "lab/sandbox/outside.h"
#include "lab/sandbox/sandbox.h"

namespace lab {
namespace {

constexpr std::size_t MANY_NODES = 8;  // from here on moving them together is faster

}  // namespace

ProgramPlace program_place() {
    std::error_code failure;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", failure);
    const std::filesystem::path build = self.parent_path().parent_path();
    // A test may hold another daemon against the rules.
    const char* const daemon = getenv("BACKHAUL_DAEMON");
    return {self.parent_path(), build, daemon == nullptr ? build / "backhaul_monitor" : daemon};
}

bool mesh_sandbox_enter(const ProgramPlace& place, const std::vector<std::string>& keep,
                        std::string& error) {
    SandboxOptions options;
    options.programs = place.programs;
    options.keep = keep;
    options.keep.push_back(place.build);
    // One that was named may lie anywhere.
    options.keep.push_back(std::filesystem::path(place.daemon).parent_path());
    options.tools = false;
    // Every node brings its own switch.
    options.network.bridge = false;
    options.network.address = "";
    options.network.gateway = "";
    return counters_open(error) && sandbox_enter(options, error);
}

MeshOptions mesh_options_of(const ProgramPlace& place, const Scenario& scenario) {
    MeshOptions options;
    options.programs = place.programs;
    options.daemon = place.daemon;
    options.together = scenario.nodes.size() >= MANY_NODES;
    return options;
}

}  // namespace lab
