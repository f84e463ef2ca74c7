#include "lab/program/campaign_case.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "lab/mesh/mesh_place.h"
#include "lab/program/child.h"
#include "lab/program/run.h"
#include "lab/rules/link_table.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

constexpr const char* SHRINK_MINUTES = "10";

bool is_parked(const Mesh& mesh, const std::string& node) {
    const LinkTracker* const tracker = mesh.tracker(node);
    for (const TrackedLink& link : tracker == nullptr ? LinkTracker{}.links : tracker->links) {
        if (link.is_known && link.state == STATE_PARKED) {
            return true;
        }
    }
    return false;
}

void tally_second(const Mesh& mesh, CaseTally& tally) {
    for (const NodeObservation& node : mesh.observation().nodes) {
        if (!node.is_root) {
            case_tally_look(
                tally, {node.name, has_backhaul(node), node.powered && is_parked(mesh, node.name)});
        }
    }
}

void outages_fill(const Mesh& mesh, CaseResult& result) {
    std::vector<CaseVerb> verbs;
    for (const MeshEvent& event : mesh.events()) {
        if (event.is_verb) {
            verbs.push_back({event.time, event.text});
        }
    }
    const std::int64_t now = mesh.observation().time;
    for (const auto& [name, node] : mesh.outages().nodes) {
        for (const Outage& outage : node.outages) {
            const std::int64_t from = outage.from - mesh.started();
            result.outages.push_back({name, from, outage_seconds(outage, now), outage.to >= 0,
                                      outage_cause(verbs, from)});
        }
    }
}

void violations_fill(const Run& run, CaseResult& result) {
    for (const Violation& violation : run.mesh->violations()) {
        if (violation.known.empty()) {
            result.breaches.push_back(violation.rule + " " + violation.node + ": " +
                                      violation.text);
            result.rule = result.rule.empty() ? violation.rule : result.rule;
        }
        if (violation.rule == RULE_NO_LOOP) {
            ++result.loops[violation.known.empty() ? "unknown" : violation.known];
        }
    }
    for (const PlayedStep& played : run.player->played()) {
        if (!played.good) {
            result.breaches.push_back("step: " + played.text);
        }
    }
    result.breaches.insert(result.breaches.end(), run.sanitizer_reports.begin(),
                           run.sanitizer_reports.end());
    for (const CauseCount& count : causes_count(run.mesh->causes())) {
        result.causes[std::string(count.row->name)] = count.times;
    }
}

// In a process that enters the sandbox and never leaves it.
bool play_inside(const CampaignCase& one, const std::string& evidence, CaseResult& result,
                 std::string& error) {
    Scenario scenario;
    Arguments arguments;
    arguments.evidence = evidence;
    CaseTally tally;
    Run run;
    run.title = one.id;
    run.enough = [&tally](const Run& now) {
        tally_second(*now.mesh, tally);
        return false;
    };
    if (!campaign_case_scenario(one, scenario, error) ||
        !run_play(scenario, arguments, false, run, error)) {
        return false;
    }
    if (run.ended_early || !run.failure.empty()) {
        error = run.failure.empty() ? "it was ended before it was over" : run.failure;
        return false;
    }
    result.of = one;
    result.seconds = run.mesh->passed();
    result.real_ms = run.real_ms;
    result.observed_seconds = tally.observed_seconds;
    result.parked_seconds = tally.parked_seconds;
    const IslandSummary islands = run.mesh->islands();
    result.islands = islands.count;
    result.island_seconds = islands.seconds;
    result.island_longest = islands.longest;
    result.switches = run_switches(run);
    outages_fill(*run.mesh, result);
    violations_fill(run, result);
    if (!run_is_good(run)) {
        result.scenario = scenario_print(scenario);
    }
    const bool kept = run_leave_evidence(run, error);
    result.evidence = run.evidence;
    return kept;
}

// The shortest scenario that still breaks the rule; empty when none was found in time.
std::string shrunk_scenario(const CaseResult& result) {
    const std::string program = program_place().programs + "/backhaul_lab";
    const std::string whole = result.evidence + "/scenario.scn";
    const std::string shorter = result.evidence + "/short.scn";
    child_says([&]() -> std::string {
        if (freopen("/dev/null", "w", stdout) != nullptr &&
            freopen((result.evidence + "/shrink.log").c_str(), "w", stderr) != nullptr) {
            execl(program.c_str(), "backhaul_lab", "shrink", whole.c_str(), "--rule",
                  result.rule.c_str(), "--minutes", SHRINK_MINUTES, "--output", shorter.c_str(),
                  nullptr);
        }
        _exit(1);
    });
    std::string text;
    file_read(shorter, &text);
    return text;
}

}  // namespace

std::string campaign_daemon(const CampaignCase& one) {
    return one.daemon.path.empty() ? program_place().daemon : one.daemon.path;
}

bool campaign_case_play(const CampaignCase& one, const std::string& evidence, CaseResult& result,
                        std::string& error) {
    if (!one.daemon.path.empty()) {
        setenv("BACKHAUL_DAEMON", one.daemon.path.c_str(), 1);
    }
    const std::string mark = file_mark(campaign_daemon(one), error);
    if (mark.empty()) {
        return false;
    }
    const std::optional<std::string> said = child_says([&] {
        CaseResult inside;
        std::string why;
        return play_inside(one, evidence, inside, why) ? json_text(case_result_json(inside))
                                                       : json_text({{"failure", why}});
    });
    const Json json = Json::parse(said.value_or(""), nullptr, false);
    if (json.is_discarded() || json.contains("failure")) {
        error = json.is_discarded() ? "the run ended without a word"
                                    : json["failure"].get<std::string>();
        return false;
    }
    result = {};
    if (!case_result_read(json, result)) {
        error = "the run told something odd";
        return false;
    }
    std::array<char, 256> host{};
    gethostname(host.data(), host.size() - 1);
    result.daemon_mark = mark;
    result.host = host.data();
    if (!result.rule.empty() && !result.evidence.empty()) {
        result.shrunk = shrunk_scenario(result);
    }
    return true;
}

}  // namespace lab
