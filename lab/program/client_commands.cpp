#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "lab/node/flow_log_reader.h"
#include "lab/program/client.h"
#include "lab/program/commands.h"
#include "lab/program/shell.h"
#include "lab/program/socket_place.h"
#include "lab/program/watch_view.h"
#include "lab/report/json.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr std::chrono::milliseconds FOLLOW_PAUSE{250};

/// Prints what the mesh said to a request that has no table; returns the exit code.
int answer_report(const Arguments& arguments, const Answer& answer) {
    if (arguments.json) {
        JsonWriter json;
        json.object_begin();
        json.key("good").value(answer.code == EXIT_GOOD);
        json.key("text").value(answer.text);
        json.object_end();
        printf("%s\n", json.text().c_str());
        return answer.code;
    }
    if (answer.code != EXIT_GOOD) {
        return complain(answer.text, answer.code);
    }
    if (!answer.text.empty()) {
        printf("%s\n", answer.text.c_str());
    }
    return EXIT_GOOD;
}

int ask_and_report(const Arguments& arguments, const std::vector<std::string>& words) {
    const int fd = mesh_connect(arguments);
    if (fd < 0) {
        return EXIT_DIFFERS;
    }
    const Answer answer = client_ask(fd, words);
    close(fd);
    return answer_report(arguments, answer);
}

/// The status in the part that was asked for: the node's, or everything.
bool node_keep(const std::string& name, MeshStatus* status) {
    std::vector<std::string> names;
    for (const NodeStatus& node : status->nodes) {
        names.push_back(node.name);
    }
    if (std::ranges::find(names, name) == names.end()) {
        complain(unknown_word(name, "node", names));
        return false;
    }
    std::erase_if(status->nodes, [&name](const NodeStatus& node) { return node.name != name; });
    return true;
}

void status_print(const Arguments& arguments, const MeshStatus& status,
                  const std::string& stalled) {
    const bool in_colour = wants_colour(arguments);
    if (arguments.words.empty()) {
        printf("%s\n", line_clipped(status_headline(status), std::string::npos).c_str());
    }
    printf("%s", table_text(status_table(status), in_colour).c_str());
    if (!arguments.words.empty()) {
        printf("\n%s", table_text(node_table(status.nodes[0]), in_colour).c_str());
    }
    if (!status.last_failed.empty()) {
        printf("last failed step: %s\n",
               line_clipped(status.last_failed, std::string::npos).c_str());
    }
    if (!status.last_violation.empty()) {
        printf("last violation: %s\n",
               line_clipped(status.last_violation, std::string::npos).c_str());
    }
    if (!stalled.empty()) {
        printf("the mesh stands still: %s\n", line_clipped(stalled, std::string::npos).c_str());
    }
}

/// One object a line, so that a reader of `-f` need not wait for the end.
void log_print_json(const Answer& answer) {
    for (const std::string& line : answer.lines) {
        std::int64_t time = 0;
        std::string text;
        const bool dated = log_line_split(line, time, text);
        JsonWriter json;
        json.object_begin();
        json.key("time").value(time);
        json.key("text").value(dated ? text : line);
        json.object_end();
        printf("%s\n", json.text().c_str());
    }
    fflush(stdout);
}

void log_print(const Answer& answer) {
    const bool to_terminal = isatty(STDOUT_FILENO) != 0;
    for (const std::string& line : answer.lines) {
        printf("%s\n", to_terminal ? line_clipped(line, std::string::npos).c_str() : line.c_str());
    }
    fflush(stdout);
}

}  // namespace

int complain(const std::string& text, int code) {
    fprintf(stderr, "backhaul_lab: %s\n", line_clipped(text, std::string::npos).c_str());
    return code;
}

bool wants_colour(const Arguments& arguments) {
    return !arguments.colour_never && isatty(STDOUT_FILENO) != 0 && getenv("NO_COLOR") == nullptr;
}

std::string socket_of(const Arguments& arguments) {
    return arguments.socket.empty() ? socket_path(getenv("XDG_RUNTIME_DIR"), geteuid())
                                    : arguments.socket;
}

int mesh_connect(const Arguments& arguments) {
    std::string error;
    const int fd = socket_connect(socket_of(arguments), &error);
    if (fd < 0) {
        complain(error);
    }
    return fd;
}

int status_command(const Arguments& arguments) {
    const int fd = mesh_connect(arguments);
    if (fd < 0) {
        return EXIT_DIFFERS;
    }
    const Answer answer = client_ask(fd, {"status"});
    close(fd);
    MeshStatus status;
    ServerStatus server;
    if (answer.code != EXIT_GOOD) {
        return complain(answer.text, answer.code);
    }
    if (!status_decode(answer.lines, &status, &server)) {
        return complain("the mesh was started by another version of this program");
    }
    if (!arguments.words.empty() && !node_keep(arguments.words[0], &status)) {
        return EXIT_DIFFERS;
    }
    if (arguments.json) {
        printf("%s\n", status_json(status).c_str());
    } else {
        status_print(arguments, status, server.stalled);
    }
    return EXIT_GOOD;
}

int do_command(const Arguments& arguments) {
    std::vector<std::string> words = {"do"};
    words.insert(words.end(), arguments.words.begin(), arguments.words.end());
    return ask_and_report(arguments, words);
}

int log_command(const Arguments& arguments) {
    const int fd = mesh_connect(arguments);
    if (fd < 0) {
        return EXIT_DIFFERS;
    }
    std::string from = "-1";
    for (;;) {
        const std::string count = from == "-1" ? std::to_string(arguments.lines) : "0";
        const Answer answer = client_ask(fd, {"log", arguments.words[0], from, count});
        if (answer.code != EXIT_GOOD) {
            close(fd);
            return complain(answer.text, answer.code);
        }
        if (arguments.json) {
            log_print_json(answer);
        } else {
            log_print(answer);
        }
        from = answer.text;
        if (answer.lines.empty()) {
            if (!arguments.follow || ferror(stdout) != 0) {
                break;
            }
            std::this_thread::sleep_for(FOLLOW_PAUSE);
        }
    }
    close(fd);
    return EXIT_GOOD;
}

int shell_command(const Arguments& arguments) {
    const int fd = mesh_connect(arguments);
    if (fd < 0) {
        return EXIT_DIFFERS;
    }
    std::vector<int> descriptors;
    const Answer answer = client_ask(fd, {"enter", arguments.words[0]}, &descriptors);
    close(fd);
    if (answer.code != EXIT_GOOD) {
        return complain(answer.text, answer.code);
    }
    std::string error;
    const int code = shell_run(arguments.words[0], descriptors, arguments.shell, &error);
    return code < 0 ? complain(error) : code;
}

int speed_command(const Arguments& arguments) {
    return ask_and_report(arguments, {"speed", arguments.words[0]});
}

int down_command(const Arguments& arguments) {
    const int fd = mesh_connect(arguments);
    if (fd < 0) {
        return EXIT_DIFFERS;
    }
    const Answer answer = client_ask(fd, {"down"});
    client_await_end(fd);
    close(fd);
    // The server cannot: its own sandbox hides the folder.
    unlink(socket_of(arguments).c_str());
    return answer_report(arguments, answer);
}

}  // namespace lab
