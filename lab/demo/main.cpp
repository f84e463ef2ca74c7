// The demonstration: a real daemon on stand-in routers, its life told step by step with its own
// evidence; then a whole mesh. Exits 0 only when every step was seen.

#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "lab/demo/act_mesh.h"
#include "lab/demo/acts.h"
#include "lab/node/evidence.h"
#include "lab/sandbox/sandbox.h"

namespace {

/// Routers meet on the bridge of this outer sandbox, in which the demonstration itself runs.
int enter_outer_sandbox(const std::string& programs, const std::string& build, std::string& error) {
    lab::SandboxOptions options;
    options.programs = programs;
    // The scenario of the last act lies among the sources.
    options.keep = {build, std::filesystem::path(BACKHAUL_DEMONSTRATION).parent_path()};
    options.tools = false;
    options.network.switch_bridge = true;
    options.network.address = "192.168.1.254/24";
    options.network.gateway = "";
    return lab::sandbox_enter(options, error);
}

void play(lab::Stage& stage) {
    lab::Actor& extender = stage.add_extender("extender", "192.168.1.20/24");
    lab::act_backhaul_up(stage, extender);
    lab::act_loss_and_return(stage, extender);
    lab::act_backup_takes_over(stage, extender);
    lab::act_third_loss(stage, extender);
    lab::act_better_ap(stage, extender);
    lab::act_cable(stage, extender);
    lab::act_radar(stage, extender);
    lab::Actor& root = stage.add_root("root", "192.168.1.1/24");
    lab::act_admission(stage, root, extender);
    lab::Actor& second = stage.add_extender("second", "192.168.1.21/24");
    lab::act_mesh_list(stage, root, second);
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    const std::string programs = self.parent_path();
    const std::string build = self.parent_path().parent_path();
    const std::string daemon = argc > 1 ? argv[1] : build + "/backhaul_monitor";
    const bool colour = isatty(STDOUT_FILENO) != 0;
    setvbuf(stdout, nullptr, _IOLBF, 0);

    std::string error;
    lab::OutsidePlace evidence;
    if (!lab::evidence_place_open("", lab::EVIDENCE_FOLDER, &evidence, error) ||
        enter_outer_sandbox(programs, build, error) != 0) {
        fprintf(stderr, "the demonstration cannot run here: %s\n", error.c_str());
        return 1;
    }
    int result = 0;
    {
        lab::Stage stage({programs, daemon, evidence, colour});
        play(stage);
        result = stage.finish();
    }
    const lab::MeshOptions options{programs, daemon, false};
    return result == 0 ? lab::act_mesh(options, evidence, BACKHAUL_DEMONSTRATION, colour) : result;
}
