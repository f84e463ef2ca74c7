// What is odd about a scenario though it can be played: told beside a run's result, never a
// failure.
//
// Functions of values, for whoever reports a run or takes one up.
#pragma once

#include <string>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

struct Remark {
    int line = 0;      // of the scenario's file; 0: of the whole
    std::string text;  // a sentence without a full stop
};

// A mesh without a root, one with several roots.
std::vector<Remark> mesh_remarks(const Scenario& scenario);

// These, and steps that expect nothing.
std::vector<Remark> scenario_remarks(const Scenario& scenario);

// "FILE:12: reboot e1 changed nothing: ...", a line each.
std::string remarks_text(const std::string& file, const std::vector<Remark>& remarks);

}  // namespace lab
