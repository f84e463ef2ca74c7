#include <cstdio>

#include "ctl/log_line.h"
#include "lab/mesh/mesh_place.h"
#include "lab/program/commands.h"
#include "lab/replay/replay.h"

namespace lab {
namespace {

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

}  // namespace

int replay_command(const Arguments& arguments) {
    std::vector<ReplayLog> logs;
    std::string error;
    if (!replay_logs_read(arguments.words, logs, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    for (const ReplayLog& log : logs) {
        if (log.lines.empty()) {
            return complain(arguments, "the log of " + log.node + " holds no start of a worker",
                            EXIT_USAGE);
        }
    }
    const ProgramPlace place = program_place();
    const ReplayPrograms programs{place.programs, place.daemon};
    if (!replay_sandbox_enter(programs, place.build, error)) {
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
