// Campaigns: what is to be played, by whom, and what came of it.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <iterator>

#include "lab/campaign/engine.h"
#include "lab/campaign/report.h"
#include "lab/mesh/mesh_place.h"
#include "lab/program/campaign_case.h"
#include "lab/program/commands.h"
#include "lab/report/outage.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

constexpr std::string_view STANDARD_INPUT = "-";

struct Plan {
    Campaign campaign;
    std::vector<CampaignCase> cases;
    std::map<std::string, std::string> marks;  // by the daemon's name
    EnginePlace place;
    std::string file;
};

bool file_text(const std::string& file, std::string& text) {
    if (file == STANDARD_INPUT) {
        text.assign(std::istreambuf_iterator<char>(std::cin), {});
        return true;
    }
    return file_read(file, &text) && !text.empty();
}

// "tuning.json" has its results in "tuning.results".
std::string results_of(const Arguments& arguments) {
    std::filesystem::path folder = arguments.results;
    if (arguments.results.empty()) {
        folder = arguments.words[0];
        folder.replace_extension(".results");
    }
    return std::filesystem::absolute(folder).lexically_normal();
}

bool plan_read(const Arguments& arguments, Plan& plan, std::string& error) {
    const std::string& file = arguments.words[0];
    std::string text;
    if (!file_text(file, text)) {
        error = "cannot read " + file;
        return false;
    }
    plan.file = std::filesystem::absolute(file);
    if (!campaign_parse(text, std::filesystem::path(plan.file).parent_path(), plan.campaign,
                        error)) {
        error = file + ": " + error;
        return false;
    }
    if (file == STANDARD_INPUT && arguments.results.empty()) {
        error = "say with `--results` where the results of a campaign without a file are";
        return false;
    }
    plan.place = {program_place().programs + "/backhaul_lab", results_of(arguments), arguments.jobs,
                  arguments.logins};
    plan.cases = campaign_cases(plan.campaign);
    for (const CampaignCase& one : plan.cases) {
        std::string& mark = plan.marks[one.daemon.name];
        mark = mark.empty() ? file_mark(campaign_daemon(one), error) : mark;
        if (mark.empty()) {
            return false;
        }
    }
    return true;
}

bool result_of(const Plan& plan, const CampaignCase& one, CaseResult& result) {
    return case_result_load(plan.place.results, one, plan.marks.at(one.daemon.name), result);
}

std::vector<std::string> waiting_of(const Plan& plan) {
    std::vector<std::string> ids;
    for (const CampaignCase& one : plan.cases) {
        CaseResult result;
        if (!result_of(plan, one, result)) {
            ids.push_back(one.id);
        }
    }
    return ids;
}

std::string lines_of(const std::vector<std::string>& ids) {
    std::string text;
    for (const std::string& id : ids) {
        text += id + "\n";
    }
    return text;
}

// "s1.line-4.usual.1h.usual: 31 outages, the worst 4:03, in 28.1 s"
std::string result_line(const CaseResult& result) {
    std::int64_t worst = 0;
    for (const CaseOutage& outage : result.outages) {
        worst = std::max(worst, outage.seconds);
    }
    std::array<char, 32> real{};
    std::snprintf(real.data(), real.size(), "%.1f s", static_cast<double>(result.real_ms) / 1000);
    return result.of.id + ": " + std::to_string(result.outages.size()) + " outages, the worst " +
           duration_text(worst) + ", in " + real.data() +
           (result.breaches.empty() ? "" : ", BROKE " + result.breaches[0]);
}

int one_case(const Arguments& arguments, const Plan& plan) {
    const auto one = campaign_case_find(plan.campaign, arguments.one_case);
    if (!one) {
        return complain(arguments, "the campaign has no case `" + arguments.one_case + "`",
                        EXIT_USAGE);
    }
    CaseResult result;
    std::string error;
    const bool is_there = result_of(plan, *one, result);
    if (!is_there && !campaign_case_play(*one, plan.place.results + "/evidence", result, error)) {
        return complain(arguments, one->id + ": " + error);
    }
    if (arguments.json) {
        json_print(case_result_json(result));
    } else if (!is_there && !case_result_save(plan.place.results, result, error)) {
        return complain(arguments, error);
    } else {
        printf("%s\n", result_line(result).c_str());
    }
    // A broken rule is a result like any other.
    return EXIT_GOOD;
}

volatile std::sig_atomic_t engine_pid = 0;

// The engine begins nothing more and ends when what runs is over; asked again it ends at once.
void engine_end(int /*number*/) {
    if (engine_pid > 0) {
        kill(engine_pid, SIGTERM);
    }
}

// Starts the engine with `ids` as its input; what it prints is read from the file that is returned.
FILE* engine_start(const std::vector<std::string>& words, const std::string& ids, pid_t& pid,
                   std::string& error) {
    const int in = memfd_create("ids", MFD_CLOEXEC);
    std::array<int, 2> ends{};
    if (in < 0 || write(in, ids.data(), ids.size()) != static_cast<ssize_t>(ids.size()) ||
        lseek(in, 0, SEEK_SET) != 0 || pipe2(ends.data(), O_CLOEXEC) != 0) {
        error = std::string("cannot hand over the cases: ") + strerror(errno);
        return nullptr;
    }
    fflush(nullptr);
    pid = fork();
    if (pid == 0) {
        std::vector<char*> arguments;
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        dup2(in, STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        execvp(arguments[0], arguments.data());
        constexpr int NOT_FOUND = 127;
        _exit(NOT_FOUND);
    }
    close(in);
    close(ends[1]);
    engine_pid = pid;
    if (pid < 0) {
        close(ends[0]);
        error = std::string("cannot start a process: ") + strerror(errno);
        return nullptr;
    }
    return fdopen(ends[0], "r");
}

// Takes results, one a line, until the engine has ended.
bool results_take(FILE* from, const Plan& plan, std::size_t done, std::string& error) {
    std::string line;
    bool good = true;
    for (int one = getc(from); one != EOF; one = getc(from)) {
        if (one != '\n') {
            line.push_back(static_cast<char>(one));
            continue;
        }
        CaseResult result;
        const Json json = Json::parse(line, nullptr, false);
        line.clear();
        if (json.is_discarded() || !case_result_read(json, result)) {
            const bool says_why = json.is_object() && json.contains("text");
            fprintf(stderr, "%s\n",
                    says_why ? json["text"].get<std::string>().c_str()
                             : "a case told no result; it is tried again");
            continue;
        }
        good = case_result_save(plan.place.results, result, error) && good;
        fprintf(stderr, "%zu of %zu: %s\n", ++done, plan.cases.size(), result_line(result).c_str());
    }
    return good;
}

bool engine_run(const Plan& plan, const std::vector<std::string>& waiting, std::string& error) {
    if (!folder_make(plan.place.results)) {
        error = "cannot make " + plan.place.results;
        return false;
    }
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = engine_end;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    // A terminal's goes to all: the engine and the cases end by themselves.
    signal(SIGINT, SIG_IGN);
    const std::vector<std::string> words = parallel_words(plan.campaign, plan.place);
    pid_t pid = -1;
    FILE* const out = engine_start(words, lines_of(waiting), pid, error);
    if (out == nullptr) {
        return false;
    }
    const bool taken = results_take(out, plan, plan.cases.size() - waiting.size(), error);
    fclose(out);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
        error = "cannot start `" + words[0] + "`: install Debian's package of that name";
        return false;
    }
    return taken;
}

int campaign_play(const Arguments& arguments, const Plan& plan) {
    const std::vector<std::string> waiting = waiting_of(plan);
    std::string error;
    if (!waiting.empty() && !engine_run(plan, waiting, error)) {
        return complain(arguments, error);
    }
    std::size_t there = 0;
    std::size_t broke = 0;
    for (const CampaignCase& one : plan.cases) {
        CaseResult result;
        if (result_of(plan, one, result)) {
            ++there;
            broke += result.breaches.empty() ? 0 : 1;
        }
    }
    const bool good = there == plan.cases.size() && broke == 0;
    if (arguments.json) {
        json_print({{"good", good},
                    {"cases", plan.cases.size()},
                    {"results", there},
                    {"broke", broke},
                    {"folder", plan.place.results}});
    } else {
        printf("%zu of %zu cases have a result, %zu broke a rule: %s\n", there, plan.cases.size(),
               broke, plan.place.results.c_str());
    }
    return good ? EXIT_GOOD : EXIT_DIFFERS;
}

int slurm_print(const Arguments& arguments, const Plan& plan) {
    const std::vector<std::string> waiting = waiting_of(plan);
    const std::string list = plan.place.results + "/waiting";
    if (plan.file.ends_with("/-")) {
        return complain(arguments, "a script needs a file that all nodes see", EXIT_USAGE);
    }
    if (!file_write(list, lines_of(waiting))) {
        return complain(arguments, "cannot write to " + plan.place.results);
    }
    if (waiting.empty()) {
        return complain(arguments, "every case has a result");
    }
    printf("%s", slurm_script(plan.campaign, plan.place, plan.file, list, waiting.size()).c_str());
    return EXIT_GOOD;
}

// Makes the page and the table of the results that are there.
int report_make(const Arguments& arguments, const Plan& plan) {
    std::vector<CaseResult> results;
    for (const CampaignCase& one : plan.cases) {
        CaseResult result;
        if (result_of(plan, one, result)) {
            results.push_back(result);
        }
    }
    if (results.empty()) {
        return complain(arguments, "no case has a result yet");
    }
    const CampaignSummary summary = campaign_summary(plan.campaign, results);
    const std::string page = plan.place.results + "/report.html";
    const std::string table = plan.place.results + "/report.csv";
    if (!file_write(page, report_page(summary)) || !file_write(table, report_csv(summary))) {
        return complain(arguments, "cannot write to " + plan.place.results);
    }
    if (arguments.json) {
        json_print({{"good", true}, {"results", results.size()}, {"page", page}, {"table", table}});
    } else {
        printf("%s\n%s\n", page.c_str(), table.c_str());
    }
    return EXIT_GOOD;
}

}  // namespace

int campaign_command(const Arguments& arguments) {
    Plan plan;
    std::string error;
    if (!plan_read(arguments, plan, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    if (!arguments.one_case.empty()) {
        return one_case(arguments, plan);
    }
    if (arguments.list) {
        printf("%s", lines_of(waiting_of(plan)).c_str());
        return EXIT_GOOD;
    }
    if (arguments.report) {
        return report_make(arguments, plan);
    }
    return arguments.slurm ? slurm_print(arguments, plan) : campaign_play(arguments, plan);
}

}  // namespace lab
