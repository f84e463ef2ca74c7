#include <unistd.h>

#include <cstdio>

#include "lab/mesh/mesh_report.h"
#include "lab/program/commands.h"
#include "lab/program/mesh_host.h"
#include "lab/program/run.h"
#include "lab/scenario/scenario_chaos.h"

namespace lab {
namespace {

constexpr int CHAOS_NODES = 8;
constexpr int CHAOS_HOURS = 24;
constexpr int SECONDS_AN_HOUR = 3600;

/// Tells what differed and where the evidence is; the exit code.
int run_finish(const Arguments& arguments, Run* run) {
    run_leave_evidence(run);
    if (arguments.json) {
        printf("%s\n", run_json(*run).c_str());
    } else if (!run_is_good(*run)) {
        printf("%s", run_differences(*run).c_str());
        if (!run->evidence.empty()) {
            printf("evidence: %s\nagain: %s\n", run->evidence.c_str(),
                   run_again_command(*run).c_str());
        }
    }
    fflush(stdout);
    return run_is_good(*run) ? EXIT_GOOD : EXIT_DIFFERS;
}

}  // namespace

int check_command(const Arguments& arguments) {
    Scenario scenario;
    if (!scenario_load(arguments.words, &scenario)) {
        return EXIT_USAGE;
    }
    scenario.seed = arguments.seed.value_or(scenario.seed);
    Run run;
    run.title = arguments.words[0];
    if (!run_play(scenario, arguments, isatty(STDERR_FILENO) != 0 && !arguments.json, &run)) {
        return EXIT_DIFFERS;
    }
    if (!arguments.json) {
        const bool in_colour = wants_colour(arguments);
        printf("%s\n", run_verdict(run).c_str());
        printf("%s", table_text(outages_table(*run.mesh), in_colour).c_str());
        printf("%s", run_remarks(run).c_str());
    }
    const int code = run_finish(arguments, &run);
    // Nobody knows what the steps that were not played would have found.
    return run.ended_early ? EXIT_DIFFERS : code;
}

int chaos_command(const Arguments& arguments) {
    const int nodes = arguments.nodes > 0 ? arguments.nodes : CHAOS_NODES;
    if (nodes < 2) {
        return complain("a mesh for `chaos` has two nodes at least", EXIT_USAGE);
    }
    if (nodes > MOST_NODES) {
        return complain("a mesh has at most " + std::to_string(MOST_NODES) + " nodes", EXIT_USAGE);
    }
    ChaosOptions options;
    options.seed = arguments.seed.value_or(options.seed);
    options.seconds = (arguments.hours > 0 ? arguments.hours : CHAOS_HOURS) * SECONDS_AN_HOUR;
    const Scenario scenario = scenario_chaos(scenario_chaos_mesh(nodes), options);
    if (!arguments.json) {
        printf("%d nodes, %d hours, seed %u\n", nodes, options.seconds / SECONDS_AN_HOUR,
               options.seed);
        fflush(stdout);
    }
    Run run;
    run.title = "chaos-" + std::to_string(options.seed);
    if (!run_play(scenario, arguments, !arguments.json, &run)) {
        return EXIT_DIFFERS;
    }
    if (!arguments.json) {
        const bool in_colour = wants_colour(arguments);
        printf("%s\n%s", run_verdict(run).c_str(), chaos_summary(run).c_str());
        printf("%s", table_text(outages_table(*run.mesh), in_colour).c_str());
    }
    return run_finish(arguments, &run);
}

}  // namespace lab
