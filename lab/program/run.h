// A scenario played from its beginning to its end in the foreground: `check` and `chaos`. What was
// found is told as text or JSON, and left in a folder when it was not as expected.
//
// On the program's main thread, before it has started any other: it enters a sandbox and stays.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lab/mesh/mesh.h"
#include "lab/mesh/player.h"
#include "lab/program/commands.h"
#include "lab/sandbox/outside.h"
#include "lab/scenario/scenario_remarks.h"

namespace lab {

struct Run {
    std::string title;  // file or command that it came from
    std::unique_ptr<Mesh> mesh;
    std::unique_ptr<Player> player;
    std::function<bool(const Run& run)> enough = nullptr;  // asked every second: true ends the run
    PlayState state = PlayState::playing;
    bool ended_early = false;  // by a key, or because its real time was over
    std::string failure;       // of the machine; empty: none
    std::vector<std::string> sanitizer_reports;
    std::int64_t real_ms = 0;
    OutsidePlace outside;  // above all evidence
    std::string evidence;  // folder; empty: none was needed
};

// Everything that was played was as expected: steps, rules (those known left out) and sanitizers.
bool run_is_good(const Run& run);

// Random trouble in the mesh that `words` name, or in one of neighbours without any: the scenario
// of `chaos`. False with a sentence when there is no such mesh.
bool run_chaos_scenario(const Arguments& arguments, const std::vector<std::string>& words,
                        Scenario& scenario, std::string& error);

// How often an uplink took over.
int run_switches(const Run& run);

// Plays the scenario; false with a sentence when no mesh could be made. `shows_progress` tells
// every few seconds on standard error how far it is. SIGINT, SIGTERM and SIGHUP end a run early:
// what was found until then counts.
bool run_play(const Scenario& scenario, const Arguments& arguments, bool shows_progress, Run& run,
              std::string& error);

// Leaves everything in a folder when the run was not good.
bool run_leave_evidence(Run& run, std::string& error);

// Steps that went wrong, broken rules and the rest of what differed; empty when the run is good.
std::string run_differences(const Run& run);

// "FILE: good, 12:31 of the mesh in 3.2 s, seed 7"
std::string run_verdict(const Run& run);

// Those of the scenario, and verbs that changed nothing.
std::vector<Remark> run_remarks(const Run& run);
Json remarks_json(const std::vector<Remark>& remarks);

// The command that runs it again; empty without evidence.
std::string run_again_command(const Run& run);

Json run_json(const Run& run);

// Longest and median outage, outages and switches of uplinks, broken rules by name.
std::string chaos_summary(const Run& run);

}  // namespace lab
