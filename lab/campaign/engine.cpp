#include "lab/campaign/engine.h"

#include <algorithm>

#include "lab/scenario/words.h"

namespace lab {

std::vector<std::string> parallel_words(const Campaign& campaign, const EnginePlace& place) {
    // JSON is full of braces, which would be replaced as well.
    constexpr const char* ID = "@ID@";
    std::vector<std::string> words = {"parallel", "--plain",    "-I",
                                      ID,         "--retries",  std::to_string(CASE_TRIES),
                                      "--tmpdir", place.results};
    if (place.jobs > 0) {
        words.insert(words.end(), {"--jobs", std::to_string(place.jobs)});
    }
    for (const std::string& login : place.logins) {
        words.insert(words.end(), {"--sshlogin", login});
    }
    words.push_back("printf %s " + shell_word(json_text(campaign_json(campaign))) + " | " +
                    shell_word(place.program) + " campaign - --json --results " +
                    shell_word(place.results) + " --case " + ID);
    return words;
}

std::string slurm_script(const Campaign& campaign, const EnginePlace& place,
                         const std::string& file, const std::string& list, std::size_t count) {
    const std::size_t tasks = std::min(count, MOST_TASKS);
    return "#!/bin/bash\n"
           "#SBATCH --job-name=" +
           campaign.name +
           "\n"
           "#SBATCH --array=1-" +
           std::to_string(tasks) +
           "\n"
           "#SBATCH --ntasks=1\n"
           "#SBATCH --cpus-per-task=1\n"
           // A task whose node vanished begins again on another.
           "#SBATCH --requeue\n"
           "#SBATCH --open-mode=append\n"
           "#SBATCH --output=" +
           place.results +
           "/slurm_%A_%a.log\n"
           "# Cases that have a result by now are not played again.\n"
           "result=0\n"
           "while read -r id; do\n"
           "    " +
           shell_word(place.program) + " campaign " + shell_word(file) + " --results " +
           shell_word(place.results) +
           " --case \"$id\" </dev/null || result=1\n"
           "done < <(sed -n \"${SLURM_ARRAY_TASK_ID}~" +
           std::to_string(tasks) + "p\" " + shell_word(list) +
           ")\n"
           "exit \"$result\"\n";
}

}  // namespace lab
