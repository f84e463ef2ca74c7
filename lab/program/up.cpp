// `up`: a server in the background that holds a mesh.
//
// The socket and the log are opened before the server enters its sandbox, whose own /tmp hides
// them. Until the mesh stands, the server tells the waiting program over a pipe how it goes: lines
// that begin with "." are progress, "=" is the end of a good start, "!" the reason of a bad one.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "lab/program/commands.h"
#include "lab/program/mesh_host.h"
#include "lab/program/run.h"
#include "lab/program/server.h"
#include "lab/program/socket_place.h"
#include "lab/program/watch_view.h"
#include "lab/report/outage.h"

namespace lab {
namespace {

volatile std::sig_atomic_t ending = 0;

void ending_note(int /*number*/) {
    ending = 1;
}

struct UpPlan {
    Scenario scenario;
    std::string socket;
    double speed = SPEED_AUTO;
    int listener = -1;
    int web_listener = -1;  // -1: no page
    WebGate gate;
    int report = -1;  // to the waiting program
};

/// False when nobody waits any more.
bool tell(const UpPlan& plan, char mark, const std::string& text) {
    printf("%s\n", text.c_str());
    const std::string line = mark + text + "\n";
    return write(plan.report, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

void streams_to_log(const std::string& path) {
    const int log = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(log < 0 ? nothing : log, STDOUT_FILENO);
    dup2(log < 0 ? nothing : log, STDERR_FILENO);
    setvbuf(stdout, nullptr, _IOLBF, 0);
}

void signals_take() {
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = ending_note;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    signal(SIGHUP, SIG_IGN);
    signal(SIGPIPE, SIG_IGN);
}

/// The mesh and its server until the end; false with a sentence when there is none.
bool hold(const UpPlan& plan, std::string& error) {
    const ProgramPlace place = program_place();
    if (!mesh_sandbox_enter(place, {}, error)) {
        return false;
    }
    signals_take();
    tell(plan, '.', "making " + std::to_string(plan.scenario.nodes.size()) + " nodes");
    const std::unique_ptr<HeldMesh> mesh =
        HeldMesh::make(plan.scenario, mesh_options_of(place, plan.scenario), error);
    if (mesh == nullptr) {
        return false;
    }
    Control control = mesh->control();
    control.pace.speed = plan.speed;
    control.mesh.second = [second = control.mesh.second](std::string& why) {
        const bool passed = second(why);
        if (!passed) {
            printf("a second did not pass: %s\n", why.c_str());
        }
        return passed;
    };
    control.mesh.end = [&control, end = control.mesh.end] {
        printf("down after %s\n", duration_text(control.mesh.status().seconds).c_str());
        end();
    };
    const std::unique_ptr<Server> server = socket_take_over(plan.listener, error)
                                               ? Server::make(control, plan.listener, error)
                                               : nullptr;
    if (server == nullptr ||
        (plan.web_listener >= 0 && !server->web_add(plan.web_listener, plan.gate, error))) {
        return false;
    }
    // Who interrupted the start wants no mesh.
    if (tell(plan, '=', "up")) {
        close(plan.report);
        server->run(&ending);
    }
    return true;
}

/// The server's whole life; its exit code.
int serve(const UpPlan& plan) {
    setsid();
    streams_to_log(server_log_path(plan.socket));
    std::string error;
    if (!hold(plan, error)) {
        tell(plan, '!', error);
        return EXIT_DIFFERS;
    }
    return EXIT_GOOD;
}

/// Shows what the server tells until the mesh stands; false with a sentence when it does not.
bool await_server(int report, const Arguments& arguments, std::string& error) {
    FILE* const lines = fdopen(report, "r");
    std::array<char, 1024> line{};
    char mark = '\0';
    while (mark != '=' && mark != '!' && lines != nullptr &&
           fgets(line.data(), line.size(), lines) != nullptr) {
        line[strcspn(line.data(), "\n")] = '\0';
        mark = line[0];
        if (mark == '.' && !arguments.json) {
            printf("%s\n", line_clipped(line.data() + 1, std::string::npos).c_str());
            fflush(stdout);
        }
    }
    if (lines != nullptr) {
        fclose(lines);
    }
    if (mark != '=') {
        error = mark == '!' ? line.data() + 1
                            : "the server ended before the mesh was up: see " +
                                  server_log_path(socket_of(arguments));
    }
    return mark == '=';
}

/// A mesh without steps is there to be played with by hand.
std::vector<Remark> remarks_of(const Scenario& scenario) {
    return scenario.steps.empty() ? mesh_remarks(scenario) : scenario_remarks(scenario);
}

/// That it is up, what it is not yet, and commands that can be typed as they stand.
void up_report(const Arguments& arguments, const UpPlan& plan) {
    if (arguments.json) {
        json_print({{"good", true},
                    {"text", ""},
                    {"socket", plan.socket},
                    {"ready", 0},
                    {"web", plan.web_listener < 0 ? "" : web_address(plan.gate)},
                    {"remarks", remarks_json(remarks_of(plan.scenario))}});
        return;
    }
    const auto typed = [&plan](const char* words) {
        return "`" + command_at(plan.socket, words) + "`";
    };
    printf(
        "the mesh is up; no node is ready yet: it forms now, which %s waits for\nor try %s, %s, "
        "%s\n",
        typed("do wait-until all status ready").c_str(), typed("status").c_str(),
        typed("watch").c_str(), typed("down").c_str());
    if (plan.web_listener >= 0) {
        printf("its page, for you alone: %s\n", web_address(plan.gate).c_str());
    }
}

}  // namespace

int up_command(const Arguments& arguments) {
    UpPlan plan;
    std::string error;
    if (!scenario_load(arguments.words, plan.scenario, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    plan.scenario.seed = arguments.seed.value_or(plan.scenario.seed);
    plan.speed = arguments.speed.value_or(SPEED_AUTO);
    plan.socket = socket_of(arguments);
    if (!socket_folder_make(plan.socket, error)) {
        return complain(arguments, error);
    }
    if (arguments.web) {
        plan.web_listener = web_listen(plan.gate, error);
        if (plan.web_listener < 0) {
            return complain(arguments, error);
        }
    }
    plan.listener = socket_listen(plan.socket, error);
    std::array<int, 2> report{-1, -1};
    if (plan.listener < 0 || pipe2(report.data(), O_CLOEXEC) != 0) {
        return complain(arguments,
                        error.empty() ? std::string("no pipe: ") + strerror(errno) : error);
    }
    plan.report = report[1];
    if (!arguments.json) {
        printf("%s", remarks_text(arguments.words[0], remarks_of(plan.scenario)).c_str());
    }
    fflush(nullptr);
    const pid_t server = fork();
    if (server == 0) {
        close(report[0]);
        const int code = serve(plan);
        fflush(nullptr);
        _exit(code);
    }
    error = server < 0 ? std::string("no process: ") + strerror(errno) : "";
    close(report[1]);
    close(plan.listener);
    close(plan.web_listener);
    if (server < 0 || !await_server(report[0], arguments, error)) {
        unlink(plan.socket.c_str());
        return complain(arguments, error);
    }
    up_report(arguments, plan);
    return EXIT_GOOD;
}

}  // namespace lab
