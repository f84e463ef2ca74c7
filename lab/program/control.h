// What can be asked of a running mesh, without sockets and without the mesh itself.
//
// The server (server.h) hands every request in and sends the answers out; whatever has to be asked
// of the mesh goes through MeshHandlers, so that tests put a fake there. One thread. Requests are
// words: see control_request.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "lab/program/pacing.h"
#include "lab/program/protocol.h"
#include "lab/rules/observation.h"
#include "lab/scenario/scenario.h"

namespace lab {

// A mesh, as far as the control needs it. Errors are sentences.
struct MeshHandlers {
    // Lets one second pass; what the scenario does in it is done. -1 when a node does not come to
    // rest.
    std::function<int(std::string* error)> second;
    std::function<MeshStatus()> status;
    // The scenario has steps left.
    std::function<bool()> steps_wait;
    // `note` says why it changed nothing, or stays empty.
    std::function<int(const Verb& verb, std::string* note, std::string* error)> verb;
    std::function<bool(const Condition& condition, std::string* why_not)> holds;
    // Lines that came into the node's flow log since the last call.
    std::function<std::vector<LogEntry>(const std::string& node)> log_new;
    // Answers tools of the nodes that wait while no time passes: those that somebody calls in a
    // shell. True when there was one. May be empty.
    std::function<bool()> tools_serve;
    // Ends the mesh and everything in it; nothing is asked of it any more. May be empty.
    std::function<void()> end;
    // Opens what a shell needs to enter the node: see shell.h. The caller closes them.
    std::function<bool(const std::string& node, std::vector<int>* descriptors, std::string* error)>
        enter;
};

// Lines of a flow log that are kept for readers, and those that one answer holds at most.
inline constexpr std::size_t LOG_LINES_KEPT = 20000;
inline constexpr std::size_t LOG_LINES_AT_ONCE = 2000;

struct KeptLog {
    std::deque<std::string> lines;  // with their dates
    std::int64_t first = 0;         // number of the oldest, counted from the mesh's start
};

// A step that somebody waits for.
struct Job {
    int client = 0;
    ScenarioStep step;
    int after = 0;   // seconds left before it is done
    int waited = 0;  // seconds that its condition has had
};

struct Control {
    MeshHandlers mesh;
    Scenario scenario;  // whose nodes a step may name
    Pace pace;
    std::vector<Job> jobs;
    std::map<std::string, KeptLog> logs;
    std::string stalled;  // why the last second did not pass
    bool ends = false;    // somebody asked for it
};

// What came of a request.
struct Outcome {
    bool waits = false;  // the answer comes with a later second
    Answer answer;
    std::vector<int> descriptors;  // go with the answer; whoever sends it closes them
};

struct LateAnswer {
    int client = 0;
    Answer answer;
};

// Answers a request of that client:
//
//   status                    lines for status_decode
//   do WORD ...               one step of a scenario; answered when it is over
//   log NODE FROM COUNT       lines from number FROM on (negative: the last COUNT; COUNT 0: all);
//                             the answer's text is the number to go on from
//   speed N | pause | resume
//   enter NODE                descriptors for a shell
//   down
Outcome control_request(Control* control, int client, const std::vector<std::string>& words,
                        std::int64_t now);

// Lets one second of the mesh pass and returns the answers that were waiting for it.
std::vector<LateAnswer> control_second(Control* control, std::int64_t now);

// The client is gone: nobody waits for its steps.
void control_forget(Control* control, int client);

// Takes new lines of every node's flow log in. Called often enough that none is lost.
void control_read_logs(Control* control);

}  // namespace lab
