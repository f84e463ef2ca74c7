#include <cstdio>
#include <memory>

#include "ctl/log_line.h"
#include "lab/mesh/mesh_place.h"
#include "lab/program/commands.h"
#include "lab/program/replay_logs.h"
#include "lab/replay/replay_shorter.h"

namespace lab {
namespace {

struct FileCloser {
    void operator()(std::FILE* file) const {
        fclose(file);
    }
};

using OpenFile = std::unique_ptr<std::FILE, FileCloser>;

Json line_json(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json result_json(const ReplayResult& result, const ReplayLog& log) {
    Json json = {{"node", result.node},           {"same", result.same()},
                 {"lines", result.lines},         {"matched", result.matched},
                 {"reordered", result.reordered}, {"seconds", result.seconds},
                 {"unknown", replay_gaps(log)},   {"difference", nullptr}};
    if (result.difference) {
        json["difference"] = {{"line", result.difference->line + 1},
                              {"at", result.difference->time},
                              {"log", line_json(result.difference->expected)},
                              {"daemon", line_json(result.difference->seen)}};
        json["difference"]["lacks"] =
            result.missing == nullptr ? Json() : Json(result.missing->input);
    }
    return json;
}

std::string result_text(const ReplayResult& result) {
    const std::string lines = std::to_string(result.lines) + " lines";
    if (result.same()) {
        return result.node + ": the same, " + lines + ", " + std::to_string(result.reordered) +
               " of them before one of another thread\n";
    }
    const ReplayDifference& difference = *result.difference;
    const auto said = [](const std::string& text) {
        return text.empty() ? std::string("(nothing)") : text;
    };
    std::string text = result.node + ": DIFFERS at line " + std::to_string(difference.line + 1) +
                       " of " + lines + ", " + log_time_text(difference.time).data() +
                       "\n    log:    " + said(difference.expected) +
                       "\n    daemon: " + said(difference.seen) + "\n";
    return result.missing == nullptr
               ? text
               : text + "    the log lacks " + std::string(result.missing->input) + "\n";
}

void gaps_print(const ReplayLog& log) {
    printf("%s: the log does not tell\n", log.node.c_str());
    for (const std::string& gap : replay_gaps(log)) {
        printf("    %s\n", gap.c_str());
    }
    fflush(stdout);
}

// The programs that replay, in the sandbox that they need.
bool programs_ready(ReplayPrograms& programs, std::string& error) {
    const ProgramPlace place = program_place();
    programs = {place.programs, place.daemon};
    return replay_sandbox_enter(programs, place.build, error);
}

int shorter_finish(const Arguments& arguments, const ReplayLog& whole, const ReplayShorter& shorter,
                   std::FILE* output) {
    const std::string text = replay_log_text(shorter.log);
    if (output != nullptr && (fputs(text.c_str(), output) < 0 || fflush(output) != 0)) {
        return complain(arguments, "cannot write to " + arguments.output);
    }
    if (arguments.json) {
        json_print({{"shows", "the first difference, on " + whole.node},
                    {"tries", shorter.tries},
                    {"first_lines", whole.lines.size()},
                    {"first_seconds", whole.lines.back().time - whole.lines.front().time},
                    {"replay", result_json(shorter.result, shorter.log)},
                    {"log", text}});
    } else if (output == nullptr) {
        printf("%s", text.c_str());
    }
    fflush(stdout);
    fprintf(stderr, "%sfrom %zu lines to %zu in %d tries\n", result_text(shorter.result).c_str(),
            whole.lines.size(), shorter.log.lines.size(), shorter.tries);
    return EXIT_GOOD;
}

}  // namespace

bool command_logs_read(const std::vector<std::string>& words, std::vector<ReplayLog>& logs,
                       std::string& error) {
    if (!replay_logs_read(words, logs, error)) {
        return false;
    }
    for (const ReplayLog& log : logs) {
        if (log.lines.empty()) {
            error = "the log of " + log.node + " holds no start of a worker";
            return false;
        }
    }
    error = logs.empty() ? "name a flow log" : "";
    return !logs.empty();
}

int shrink_difference(const Arguments& arguments, const std::vector<ReplayLog>& logs) {
    // The sandbox hides where the file is to stand.
    OpenFile output;
    if (!arguments.output.empty()) {
        output.reset(fopen(arguments.output.c_str(), "we"));
        if (output == nullptr) {
            return complain(arguments, "cannot write to " + arguments.output);
        }
    }
    ReplayPrograms programs;
    std::string error;
    if (!programs_ready(programs, error)) {
        return complain(arguments, error);
    }
    for (const ReplayLog& log : logs) {
        if (!arguments.node.empty() && log.node != arguments.node) {
            continue;
        }
        fprintf(stderr, "%s: %zu lines, until they differ\n", log.node.c_str(), log.lines.size());
        ReplayShorter shorter;
        if (!replay_shorter(log, programs, shorter, error)) {
            return complain(arguments, log.node + ": " + error);
        }
        if (shorter.result.difference) {
            return shorter_finish(arguments, log, shorter, output.get());
        }
    }
    return complain(arguments, "every log is the same when it is run again");
}

int replay_command(const Arguments& arguments) {
    std::vector<ReplayLog> logs;
    std::string error;
    if (!command_logs_read(arguments.words, logs, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    ReplayPrograms programs;
    if (!programs_ready(programs, error)) {
        return complain(arguments, error);
    }
    bool same = true;
    Json nodes = Json::array();
    for (const ReplayLog& log : logs) {
        if (!arguments.json) {
            gaps_print(log);
        }
        ReplayResult result;
        if (!replay_run(log, programs, result, error)) {
            return complain(arguments, log.node + ": " + error);
        }
        same = same && result.same();
        nodes.push_back(result_json(result, log));
        if (!arguments.json) {
            printf("%s", result_text(result).c_str());
            fflush(stdout);
        }
    }
    if (arguments.json) {
        json_print({{"same", same}, {"nodes", nodes}});
    }
    return same ? EXIT_GOOD : EXIT_DIFFERS;
}

}  // namespace lab
