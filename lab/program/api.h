// What can be asked of a mesh in the background, as HTTP and JSON on its Unix socket:
//
//   curl --unix-socket "$XDG_RUNTIME_DIR/backhaul_lab/control" http://lab/status
//
// The table is the whole interface: the server looks requests up in it, GET / prints it, and a test
// holds the man page against it. Values and functions of values.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "lab/report/json_text.h"

namespace lab {

// Exit codes of the program.
inline constexpr int EXIT_GOOD = 0;
inline constexpr int EXIT_DIFFERS = 1;  // an expectation failed, or something is not there
inline constexpr int EXIT_USAGE = 2;

enum class HttpStatus {
    none = 0,  // no mesh answered
    good = 200,
    bad_request = 400,
    forbidden = 403,
    not_found = 404,
    wrong_method = 405,
    differs = 409,
    too_large = 413,
    ended = 503,
};

// A body that is longer is refused. Bytes.
inline constexpr std::size_t LONGEST_BODY = 65536;

enum class ApiAction {
    api,
    status,
    links,
    steps,
    verbs,
    node,
    log,
    lines,
    files,
    enter,
    step,
    speed,
    events,
    down,
};

struct ApiRow {
    ApiAction action;
    std::string_view method;
    std::string_view path;    // "{node}" stands for a node's name
    std::string_view takes;   // fields of the body's object, or behind "?"
    std::string_view gives;   // fields of the answer
    std::string_view errors;  // statuses besides 400, 404, 405, 413
    std::string_view help;
};

inline constexpr std::array API = {
    ApiRow{ApiAction::api, "GET", "/", "", "resources", "", "This table."},
    ApiRow{ApiAction::status, "GET", "/status", "", "as of the command status", "",
           "How the mesh and every node is."},
    ApiRow{ApiAction::links, "GET", "/links", "", "air cables", "",
           "Who hears whom: air has a, b, band (2, 5l or 5h) and signal in dBm; cables have node, "
           "peer and up."},
    ApiRow{ApiAction::steps, "GET", "/steps", "", "steps", "",
           "The scenario's steps. Each has line, file (that was included, or empty), text, fate "
           "(waiting, good or failed), and once it "
           "is over seconds and found, which is what a condition saw."},
    ApiRow{ApiAction::verbs, "GET", "/verbs", "", "verbs", "",
           "What can be done. Each has name, usage and help."},
    ApiRow{ApiAction::node, "GET", "/nodes/{node}", "", "as of the command status, with one node",
           "", "How one node is."},
    ApiRow{ApiAction::log, "GET", "/nodes/{node}/log", "?from=N ?last=N", "lines next", "",
           "Lines of the node's flow log: from number N on, or the last N; 2000 at most. Each has "
           "time, seconds and text; next is the number to go on from."},
    ApiRow{ApiAction::lines, "GET", "/nodes/{node}/lines", "?last=N", "lines", "",
           "Command lines that the node ran, the last N (200): each has seconds and text."},
    ApiRow{ApiAction::files, "GET", "/nodes/{node}/files", "", "files", "",
           "The node's files in /tmp and /var/log as they are now: each has path, size and text, "
           "the first 4096 bytes."},
    ApiRow{ApiAction::enter, "GET", "/nodes/{node}/enter", "", "pid space", "409",
           "What a shell enters: the node's first process, by its number in the /proc of the "
           "process that serves the socket, and the inode of its pid namespace."},
    ApiRow{ApiAction::step, "POST", "/steps", "words", "good text", "409 503",
           "Does one step of a scenario, whose words stand in a list, and answers when it is over. "
           "409: it failed, or did not come true."},
    ApiRow{ApiAction::speed, "PUT", "/speed", "speed paused", "good text", "",
           "Changes how fast time passes: a word as behind the command speed, true or false, or "
           "both."},
    ApiRow{ApiAction::events, "GET", "/events", "?from=N", "number kind seconds node text", "",
           "One object a line, without an end: what happens from now on, or from number N on as "
           "far as it is kept. The kind is log, state, verb, change, violation, step, or lost for "
           "what is kept no longer."},
    ApiRow{ApiAction::down, "POST", "/down", "", "good text", "",
           "Ends the mesh and answers when it has ended."},
};

struct Answer {
    HttpStatus status = HttpStatus::good;
    Json body;  // without the version
};

// {"good":...,"text":...}, the body of everything that is no data, errors among it.
Answer answer_say(HttpStatus status, const std::string& text);

// The text of such a body, empty when it is none.
std::string answer_text(const Answer& answer);

// What the program that asked ends with.
int answer_exit_code(const Answer& answer);

// The row for a request; `node` gets what stands in the place of "{node}". Null after `error` was
// made: 404 for an unknown path, 405 for one that has other methods.
const ApiRow* api_find(std::string_view method, std::string_view path, std::string& node,
                       Answer& error);

// The path of that row, with the node's name in it and made safe for a URL.
std::string api_path(ApiAction action, std::string_view node = "");

// The table as GET / answers it.
Json api_json();

}  // namespace lab
