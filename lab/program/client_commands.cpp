#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <thread>

#include "lab/node/flow_log_reader.h"
#include "lab/program/client.h"
#include "lab/program/commands.h"
#include "lab/program/shell.h"
#include "lab/program/watch_view.h"

namespace lab {
namespace {

constexpr std::chrono::milliseconds FOLLOW_PAUSE{250};

/// Prints what the mesh said to a request that has no table; returns the exit code.
int answer_report(const Arguments& arguments, const Answer& answer) {
    const std::string text = answer_text(answer);
    if (answer.status != HttpStatus::good) {
        return complain(arguments, text, answer_exit_code(answer));
    }
    if (arguments.json) {
        json_print(answer.body);
    } else if (!text.empty()) {
        printf("%s\n", line_clipped(text, std::string::npos).c_str());
    }
    return EXIT_GOOD;
}

void status_print(const Arguments& arguments, const MeshStatus& status) {
    const bool in_colour = wants_colour(arguments);
    const auto tell = [](const char* what, const std::string& text) {
        if (!text.empty()) {
            printf("%s%s\n", what, line_clipped(text, std::string::npos).c_str());
        }
    };
    if (arguments.words.empty()) {
        tell("", status_headline(status));
    }
    printf("%s", table_text(status_table(status), in_colour).c_str());
    if (!arguments.words.empty()) {
        printf("\n%s", table_text(node_table(status.nodes[0]), in_colour).c_str());
    }
    tell("last failed step: ", status.last_failed);
    tell("last violation: ", status.last_violation);
    tell("the mesh stands still: ", status.pace.stalled);
}

/// One line a line of the log, so that a reader of `-f` need not wait for the end.
void log_print(const Arguments& arguments, const Json& lines) {
    const bool to_terminal = isatty(STDOUT_FILENO) != 0;
    for (const Json& line : lines) {
        if (arguments.json) {
            json_print(line);
        } else {
            const std::string text = log_line_join(line.value("time", 0), line.value("text", ""));
            printf("%s\n",
                   to_terminal ? line_clipped(text, std::string::npos).c_str() : text.c_str());
        }
    }
    fflush(stdout);
}

}  // namespace

int status_command(const Arguments& arguments) {
    MeshClient client(socket_of(arguments));
    const Answer answer = arguments.words.empty() ? client.ask(ApiAction::status)
                                                  : client.ask(ApiAction::node, arguments.words[0]);
    MeshStatus status;
    std::string error;
    if (answer.status != HttpStatus::good || arguments.json) {
        return answer_report(arguments, answer);
    }
    if (!status_read(answer.body, status, error) ||
        (!arguments.words.empty() && status.nodes.empty())) {
        return complain(arguments, "the mesh gave no status: " + error);
    }
    status_print(arguments, status);
    return EXIT_GOOD;
}

int do_command(const Arguments& arguments) {
    MeshClient client(socket_of(arguments));
    return answer_report(arguments,
                         client.ask(ApiAction::step, "", "", {{"words", arguments.words}}));
}

int log_command(const Arguments& arguments) {
    MeshClient client(socket_of(arguments));
    std::string query = arguments.lines > 0 ? "last=" + std::to_string(arguments.lines) : "from=0";
    for (;;) {
        const Answer answer = client.ask(ApiAction::log, arguments.words[0], query);
        const auto lines = answer.body.find("lines");
        if (answer.status != HttpStatus::good || lines == answer.body.end()) {
            return complain(arguments, answer_text(answer), answer_exit_code(answer));
        }
        log_print(arguments, *lines);
        query = "from=" + std::to_string(answer.body.value("next", std::int64_t{0}));
        if (lines->empty()) {
            if (!arguments.follow || ferror(stdout) != 0) {
                return EXIT_GOOD;
            }
            std::this_thread::sleep_for(FOLLOW_PAUSE);
        }
    }
}

int shell_command(const Arguments& arguments) {
    MeshClient client(socket_of(arguments));
    const Answer answer = client.ask(ApiAction::enter, arguments.words[0]);
    if (answer.status != HttpStatus::good) {
        return answer_report(arguments, answer);
    }
    const NodeEntrance entrance = {answer.body.value("pid", 0),
                                   answer.body.value("space", std::uint64_t{0})};
    std::string error;
    const int code =
        shell_run(arguments.words[0], client.server(), entrance, arguments.shell, error);
    return code < 0 ? complain(arguments, error) : code;
}

int speed_command(const Arguments& arguments) {
    const std::string& word = arguments.words[0];
    const bool is_pause = word == "pause" || word == "resume";
    MeshClient client(socket_of(arguments));
    return answer_report(arguments, client.ask(ApiAction::speed, "", "",
                                               is_pause ? Json{{"paused", word == "pause"}}
                                                        : Json{{"speed", word}}));
}

int down_command(const Arguments& arguments) {
    MeshClient client(socket_of(arguments));
    const Answer answer = client.ask(ApiAction::down);
    if (answer.status == HttpStatus::good) {
        // The server cannot: its own sandbox hides the folder.
        unlink(socket_of(arguments).c_str());
    }
    return answer_report(arguments, answer);
}

}  // namespace lab
