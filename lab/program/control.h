// What can be asked of a running mesh, without sockets and without the mesh itself.
//
// The server (server.h) hands every request in and sends the answers out; whatever has to be asked
// of the mesh goes through MeshHandlers, so that tests put a fake there. One thread. Requests are
// rows of the table in api.h.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "lab/program/api.h"
#include "lab/program/pacing.h"
#include "lab/report/mesh_status.h"
#include "lab/rules/observation.h"
#include "lab/scenario/scenario.h"

namespace lab {

// A node's first process, as the process that serves the mesh sees it, and the inode of its pid
// namespace, by which whoever enters knows that it is the right one.
struct NodeEntrance {
    pid_t pid = 0;
    std::uint64_t space = 0;
};

// A mesh, as far as the control needs it. Where a bool is returned with an `error`, false comes
// with a sentence in it.
struct MeshHandlers {
    // Lets one second pass; what the scenario does in it is done. False when a node does not come
    // to rest.
    std::function<bool(std::string& error)> second;
    std::function<MeshStatus()> status;
    // The scenario has steps left.
    std::function<bool()> steps_wait;
    // `note` says why it changed nothing, or stays empty.
    std::function<bool(const Verb& verb, std::string& note, std::string& error)> verb;
    std::function<bool(const Condition& condition, std::string& why_not)> holds;
    // Lines that came into the node's flow log, and what else happened, since the last call.
    std::function<std::vector<LogEntry>(const std::string& node)> log_new;
    std::function<std::vector<StatusEvent>()> events_new;
    // Answers tools of the nodes that wait while no time passes: those that somebody calls in a
    // shell. True when there was one. May be empty.
    std::function<bool()> tools_serve;
    // Ends the mesh and everything in it; nothing is asked of it any more. May be empty.
    std::function<void()> end;
    // What the table of api.h gives for them: objects with one list each, and the newest lines of a
    // node.
    std::function<Json()> links;
    std::function<Json()> steps;
    std::function<Json(const std::string& node, std::size_t last)> lines;
    std::function<Json(const std::string& node)> files;
    // Where a shell finds the node.
    std::function<bool(const std::string& node, NodeEntrance& entrance, std::string& error)> enter;
};

// Lines of a flow log and events that are kept for readers, and lines that one answer holds at
// most.
inline constexpr std::size_t LOG_LINES_KEPT = 20000;
inline constexpr std::size_t EVENTS_KEPT = 20000;
inline constexpr std::size_t LOG_LINES_AT_ONCE = 2000;
inline constexpr std::size_t COMMAND_LINES_USUAL = 200;

// The newest of many, each with a number that counts from the mesh's start.
template <typename Entry>
struct Kept {
    std::deque<Entry> entries;
    std::int64_t first = 0;  // number of the oldest

    std::int64_t next() const {
        return first + static_cast<std::int64_t>(entries.size());
    }
    void add(const Entry& entry, std::size_t most) {
        entries.push_back(entry);
        if (entries.size() > most) {
            entries.pop_front();
            ++first;
        }
    }
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
    Scenario scenario;         // whose nodes a step may name
    std::int64_t started = 0;  // the nodes' time at the mesh's start
    Pace pace;
    std::vector<Job> jobs;
    std::map<std::string, Kept<LogEntry>> logs;
    Kept<StatusEvent> events;
    std::string stalled;  // why the last second did not pass
    bool ends = false;    // somebody asked for it
};

// A request that was looked up in the table.
struct ApiCall {
    ApiAction action = ApiAction::api;
    std::string node = {};   // of the path
    Json body = {};          // an object, empty when nothing was sent
    std::int64_t from = -1;  // -1: not said
    std::int64_t last = -1;  // -1: not said
};

// What came of a request.
struct Outcome {
    bool waits = false;  // the answer comes with a later second, or with the mesh's end
    Answer answer;
};

struct LateAnswer {
    int client = 0;
    Answer answer;
};

// Answers a request of that client. Events are the server's to stream: it only gets where to begin.
Outcome control_request(Control& control, int client, const ApiCall& call, std::int64_t now);

// Lets one second of the mesh pass and returns the answers that were waiting for it.
std::vector<LateAnswer> control_second(Control& control, std::int64_t now);

// The client is gone: nobody waits for its steps.
void control_forget(Control& control, int client);

// Takes what is new in every node's flow log and what else happened in. Called often enough that
// nothing is lost.
void control_read_news(Control& control);

// The event of that number as one line with its end. A number that is kept no longer gives a line
// that says so; `from` goes on behind it. Empty when there is none yet.
std::string control_event(const Control& control, std::int64_t& from);

}  // namespace lab
