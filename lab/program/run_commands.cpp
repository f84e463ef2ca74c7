#include <unistd.h>

#include <cstdio>

#include "lab/mesh/mesh_evidence.h"
#include "lab/mesh/mesh_report.h"
#include "lab/program/commands.h"
#include "lab/program/mesh_host.h"
#include "lab/program/run.h"
#include "lab/scenario/scenario_chaos.h"
#include "lab/shrink/shrink_condition.h"

namespace lab {
namespace {

constexpr int SECONDS_AN_HOUR = 3600;

/// Before a run enters its sandbox, from which the folder could not be reached by its name.
bool logs_open(const Arguments& arguments, OutsidePlace& logs, std::string& error) {
    return arguments.logs.empty() || logs.open(arguments.logs, error);
}

/// Leaves the logs that were asked for, tells what differed and where the evidence is; the exit
/// code.
int run_finish(const Arguments& arguments, const OutsidePlace& logs, Run& run) {
    if (!arguments.logs.empty() && !mesh_logs_write(*run.mesh, logs.path())) {
        return complain(arguments, "cannot write to " + logs.name());
    }
    std::string error;
    if (!run_leave_evidence(run, error)) {
        fprintf(stderr, "backhaul_lab: %s\n", error.c_str());
    }
    if (arguments.json) {
        json_print(run_json(run));
    } else if (!run_is_good(run)) {
        printf("%s", run_differences(run).c_str());
        if (!run.evidence.empty()) {
            printf("evidence: %s\nagain: %s\n", run.evidence.c_str(),
                   run_again_command(run).c_str());
        }
    }
    fflush(stdout);
    return run_is_good(run) ? EXIT_GOOD : EXIT_DIFFERS;
}

}  // namespace

bool run_chaos_scenario(const Arguments& arguments, const std::vector<std::string>& words,
                        Scenario& scenario, std::string& error) {
    Scenario mesh;
    if (words.empty()) {
        mesh = scenario_chaos_mesh(arguments.nodes);
    } else if (!scenario_load(words, mesh, error)) {
        return false;
    }
    ChaosOptions options;
    options.seed = arguments.seed.value_or(options.seed);
    options.seconds = arguments.hours * SECONDS_AN_HOUR;
    scenario = scenario_chaos(mesh, options);
    scenario.island_seconds = arguments.island > 0 ? arguments.island : scenario.island_seconds;
    return true;
}

int check_command(const Arguments& arguments) {
    Scenario scenario;
    std::string error;
    if (!scenario_load(arguments.words, scenario, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    scenario.seed = arguments.seed.value_or(scenario.seed);
    scenario.island_seconds = arguments.island > 0 ? arguments.island : scenario.island_seconds;
    Run run;
    run.title = arguments.words[0];
    OutsidePlace logs;
    if (!logs_open(arguments, logs, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    const bool shows_progress = isatty(STDERR_FILENO) != 0 && !arguments.json;
    if (!run_play(scenario, arguments, shows_progress, run, error)) {
        return complain(arguments, error);
    }
    if (!arguments.json) {
        const bool in_colour = wants_colour(arguments);
        printf("%s\n", run_verdict(run).c_str());
        printf("%s", table_text(outages_table(*run.mesh), in_colour).c_str());
        printf("%s%s", remarks_text(run.title, run_remarks(run)).c_str(),
               causes_text(*run.mesh).c_str());
    }
    const int code = run_finish(arguments, logs, run);
    // Nobody knows what the steps that were not played would have found.
    return run.ended_early ? EXIT_DIFFERS : code;
}

int chaos_command(const Arguments& arguments) {
    Scenario scenario;
    std::string error;
    if (!run_chaos_scenario(arguments, arguments.words, scenario, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    OutsidePlace logs;
    if (!logs_open(arguments, logs, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    if (!arguments.json) {
        printf("%zu nodes, %d hours, seed %u\n", scenario.nodes.size(), arguments.hours,
               scenario.seed);
        fflush(stdout);
    }
    Run run;
    run.title = "chaos-" + std::to_string(scenario.seed);
    if (!arguments.until.empty()) {
        ShrinkCondition condition;
        condition.rule = arguments.until;
        run.enough = [condition](const Run& now) {
            return shrink_violation_find(condition, now.mesh->violations()) != nullptr;
        };
    }
    if (!run_play(scenario, arguments, !arguments.json, run, error)) {
        return complain(arguments, error);
    }
    if (!arguments.json) {
        const bool in_colour = wants_colour(arguments);
        printf("%s\n%s", run_verdict(run).c_str(), chaos_summary(run).c_str());
        printf("%s", table_text(outages_table(*run.mesh), in_colour).c_str());
    }
    return run_finish(arguments, logs, run);
}

}  // namespace lab
