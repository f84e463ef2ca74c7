// What runs the cases of a campaign: GNU parallel on this machine and on others, or Slurm. Each
// starts `backhaul_lab campaign FILE --case ID` once a case and needs to know nothing of meshes.
//
// Functions of values: who calls starts the program, or prints the script.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "lab/campaign/campaign.h"

namespace lab {

// A case that a vanished machine took along, or that could not be started, is tried so often.
inline constexpr int CASE_TRIES = 4;
// Tasks of a Slurm array that every installation takes; with more cases a task plays several.
inline constexpr std::size_t MOST_TASKS = 1000;

struct EnginePlace {
    std::string program;  // whole path of backhaul_lab; the same on every machine
    std::string results;  // folder, whole path
    int jobs = 0;         // at once on each machine; 0: one for each processor
    std::vector<std::string> logins;
};

// The command line of GNU parallel, which reads ids, one a line, and prints each case's result as
// one line once it is whole. The campaign travels in the command, so that other machines need
// nothing but the program.
std::vector<std::string> parallel_words(const Campaign& campaign, const EnginePlace& place);

// A script for sbatch that plays the ids in the file `list`, `count` of them; a case writes its own
// result, into a folder that all nodes see. `file` is the campaign's.
std::string slurm_script(const Campaign& campaign, const EnginePlace& place,
                         const std::string& file, const std::string& list, std::size_t count);

}  // namespace lab
