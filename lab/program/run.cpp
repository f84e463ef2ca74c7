#include "lab/program/run.h"

#include <sys/mman.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "lab/mesh/mesh_evidence.h"
#include "lab/mesh/mesh_report.h"
#include "lab/node/evidence.h"
#include "lab/program/commands.h"
#include "lab/program/mesh_host.h"
#include "lab/report/outage.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr std::int64_t PROGRESS_MS = 5000;
constexpr std::int64_t MS_A_MINUTE = 60000;

// Shared with the process that waits outside of the sandbox: whoever ends a run by the number of
// its process reaches only that one.
volatile std::sig_atomic_t* ending = nullptr;

void ending_note(int /*number*/) {
    *ending = 1;
}

bool endings_take(std::string& error) {
    void* const page =
        mmap(nullptr, sizeof(*ending), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) {
        error = std::string("no memory: ") + strerror(errno);
        return false;
    }
    ending = static_cast<volatile std::sig_atomic_t*>(page);
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = ending_note;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(number, &action, nullptr);
    }
    // A terminal that is gone must not keep the evidence from being written.
    signal(SIGPIPE, SIG_IGN);
    return true;
}

std::int64_t now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void progress_show(const Run& run, std::int64_t& shown) {
    const std::int64_t now = now_ms();
    if (now - shown < PROGRESS_MS) {
        return;
    }
    shown = now;
    fprintf(stderr, "%s\n", status_headline(mesh_status(*run.mesh, run.player.get())).c_str());
}

/// Plays until all steps are over, the machine fails or it is to end early.
void play_on(std::int64_t until, bool shows_progress, Run& run) {
    std::int64_t shown = now_ms();
    while ((run.state = run.player->go_on(run.failure)) == PlayState::playing) {
        run.ended_early = *ending != 0 || now_ms() >= until || (run.enough && run.enough(run));
        if (run.ended_early) {
            return;
        }
        if (!run.mesh->second(run.failure)) {
            run.state = PlayState::stopped;
            return;
        }
        if (shows_progress) {
            progress_show(run, shown);
        }
    }
}

int unknown_violations(const Run& run) {
    int count = 0;
    for (const Violation& violation : run.mesh->violations()) {
        count += violation.known.empty() ? 1 : 0;
    }
    return count;
}

Json steps_json(const Run& run) {
    Json steps = Json::array();
    for (const PlayedStep& played : run.player->played()) {
        const ScenarioStep& step = run.mesh->scenario().steps[played.step];
        steps.push_back({{"line", step.line},
                         {"file", step.file},
                         {"step", step_print(step)},
                         {"at", played.time},
                         {"waited", played.waited},
                         {"good", played.good},
                         {"text", played.text}});
    }
    return steps;
}

Json violations_json(const Run& run) {
    Json violations = Json::array();
    for (const Violation& violation : run.mesh->violations()) {
        violations.push_back({{"at", violation.time - run.mesh->started()},
                              {"rule", violation.rule},
                              {"node", violation.node},
                              {"text", violation.text},
                              {"known", violation.known}});
    }
    return violations;
}

Json outages_json(const Run& run) {
    const OutageSummary all =
        outage_summary_of_all(run.mesh->outages(), run.mesh->observation().time);
    return {
        {"count", all.count}, {"seconds", all.total}, {"worst", all.worst}, {"median", all.median}};
}

Json islands_json(const Run& run) {
    const IslandSummary all = run.mesh->islands();
    return {{"count", all.count}, {"seconds", all.seconds}, {"longest", all.longest}};
}

Json causes_json(const Run& run) {
    Json causes = Json::array();
    for (const CauseCount& count : causes_count(run.mesh->causes())) {
        causes.push_back({{"name", count.row->name},
                          {"why", count.row->why},
                          {"times", count.times},
                          {"most_an_hour", count.most},
                          {"allowed_an_hour", count.row->budget}});
    }
    return causes;
}

}  // namespace

bool run_is_good(const Run& run) {
    return (run.state == PlayState::done || run.ended_early) && run.failure.empty() &&
           run.player->failures() == 0 && unknown_violations(run) == 0 &&
           run.sanitizer_reports.empty();
}

int run_switches(const Run& run) {
    int count = 0;
    for (const MeshEvent& event : run.mesh->events()) {
        count += event.text.starts_with("uplink ") && event.text != "uplink none" ? 1 : 0;
    }
    return count;
}

bool run_play(const Scenario& scenario, const Arguments& arguments, bool shows_progress, Run& run,
              std::string& error) {
    const ProgramPlace place = program_place();
    // Before the sandbox, so that the process that waits outside outlives the signal as well.
    if (!endings_take(error) ||
        !evidence_place_open(arguments.evidence, EVIDENCE_FOLDER, &run.outside, error) ||
        !mesh_sandbox_enter(place, {}, error)) {
        return false;
    }
    const std::int64_t begun = now_ms();
    run.mesh = Mesh::make(scenario, mesh_options_of(place, scenario), error);
    if (run.mesh == nullptr) {
        return false;
    }
    run.player = std::make_unique<Player>(*run.mesh);
    play_on(arguments.minutes > 0 ? begun + arguments.minutes * MS_A_MINUTE : INT64_MAX,
            shows_progress, run);
    run.sanitizer_reports = mesh_sanitizer_reports(*run.mesh);
    run.real_ms = now_ms() - begun;
    return true;
}

bool run_leave_evidence(Run& run, std::string& error) {
    if (run_is_good(run)) {
        return true;
    }
    EvidenceFolder folder;
    if (!evidence_folder_make(run.outside, std::filesystem::path(run.title).stem(), &folder,
                              error)) {
        return false;
    }
    run.evidence = folder.name;
    if (!mesh_evidence_write(*run.mesh, folder.path)) {
        error = "not everything could be written to " + folder.name;
        return false;
    }
    return true;
}

std::string run_differences(const Run& run) {
    std::string text = differences_text(*run.mesh, *run.player, run.title);
    if (unknown_violations(run) > 0) {
        text += "broken rules:\n";
        for (const Violation& violation : run.mesh->violations()) {
            if (violation.known.empty()) {
                text += "    at " + duration_text(violation.time - run.mesh->started()) + ": " +
                        violation.rule + " " + violation.node + ": " + violation.text + "\n";
            }
        }
    }
    for (const std::string& report : run.sanitizer_reports) {
        text += "sanitizer: " + report + "\n";
    }
    if (!run.failure.empty()) {
        text += "the machine failed: " + run.failure + "\n";
    }
    return text;
}

std::string run_verdict(const Run& run) {
    char real[32] = "";
    std::snprintf(real, sizeof(real), "%.1f s", static_cast<double>(run.real_ms) / 1000);
    return run.title + ": " + (run_is_good(run) ? "good" : "DIFFERS") + ", " +
           (run.ended_early ? "ended early, " : "") + duration_text(run.mesh->passed()) +
           " of the mesh in " + real + ", seed " + std::to_string(run.mesh->scenario().seed);
}

std::vector<Remark> run_remarks(const Run& run) {
    std::vector<Remark> remarks = scenario_remarks(run.mesh->scenario());
    for (const PlayedStep& played : run.player->played()) {
        const ScenarioStep& step = run.mesh->scenario().steps[played.step];
        if (step.kind == StepKind::verb && played.good && !played.text.empty()) {
            remarks.push_back({step.line, step_print(step) + " changed nothing: " + played.text});
        }
    }
    return remarks;
}

Json remarks_json(const std::vector<Remark>& remarks) {
    Json list = Json::array();
    for (const Remark& remark : remarks) {
        list.push_back({{"line", remark.line}, {"text", remark.text}});
    }
    return list;
}

std::string run_again_command(const Run& run) {
    return run.evidence.empty() ? ""
                                : shell_word(program_place().programs + "/backhaul_lab") +
                                      " check " + shell_word(run.evidence + "/scenario.scn");
}

Json run_json(const Run& run) {
    MeshStatus status = mesh_status(*run.mesh, run.player.get());
    status.events.clear();
    for (const MeshEvent& event : run.mesh->events()) {
        status.events.push_back(status_event(event));
    }
    return {{"file", run.title},
            {"good", run_is_good(run)},
            {"ended_early", run.ended_early},
            {"seed", run.mesh->scenario().seed},
            {"seconds", run.mesh->passed()},
            {"real_ms", run.real_ms},
            {"failure", run.failure},
            {"steps", steps_json(run)},
            {"violations", violations_json(run)},
            {"causes", causes_json(run)},
            {"remarks", remarks_json(run_remarks(run))},
            {"outages", outages_json(run)},
            {"islands", islands_json(run)},
            {"switches", run_switches(run)},
            {"evidence", run.evidence},
            {"again", run_again_command(run)},
            {"status", status_json(status)}};
}

std::string chaos_summary(const Run& run) {
    const OutageSummary all =
        outage_summary_of_all(run.mesh->outages(), run.mesh->observation().time);
    std::string text = "worst outage " + duration_text(all.worst) + ", median " +
                       duration_text(all.median) + ", " + std::to_string(all.count) + " outages, " +
                       std::to_string(run_switches(run)) + " switches\n";
    if (const IslandSummary islands = run.mesh->islands(); islands.count > 0) {
        text += std::to_string(islands.count) + " islands, " + duration_text(islands.seconds) +
                " of them in all, the longest " + duration_text(islands.longest) + "\n";
    }
    for (const RuleCount& count : rules_count(run.mesh->violations())) {
        if (count.known + count.unknown > 0) {
            text += "rule " + std::string(count.rule) + ": broken " +
                    std::to_string(count.unknown) + " times, and " + std::to_string(count.known) +
                    " times in a known way\n";
        }
    }
    return text + causes_text(*run.mesh);
}

}  // namespace lab
