// Answers that a test or the lab puts in the place of a tool's own.
//
// Answers lie under /run/lab/state/answers/KEY (keys: lab/tools/tool_words.h), queued ones in the
// order of their arrival, each used up by one call, and behind them at most one that stays. The
// most telling key with an answer wins; a call without an answer is served by the tool itself.
// Several tools may take from one queue at once: each answer goes to exactly one.
//
// An answer may name a gate: the call is recorded, then waits until the gate is open, then
// answers. This makes a slow tool without any sleep.
//
// `root` is a path prefix: "" in the sandbox itself, "/proc/PID/root" from outside.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lab {

struct ToolAnswer {
    std::string out;        // standard output, exactly
    std::string err;        // standard error, exactly
    int exit_code = 0;      // of the tool
    std::string gate;       // name of the gate to wait for first; empty: none
    bool run_tool = false;  // after the gate the tool answers itself; the three above are unused
};

// As text, and back. False when the text is not an answer.
std::string answer_encode(const ToolAnswer& answer);
bool answer_decode(std::string_view text, ToolAnswer* answer);

// Queues an answer for the next call that fits `key` ("wpa_cli.interface_add"), behind those that
// wait already. The text form answers with exit code 0 and adds a line end if `out` has none.
bool answer_push(const std::string& root, const std::string& key, const ToolAnswer& answer);
bool answer_push(const std::string& root, const std::string& key, const std::string& out);

// Answers every call that fits `key`, once the queue is empty.
bool answer_always(const std::string& root, const std::string& key, const ToolAnswer& answer);
bool answer_always(const std::string& root, const std::string& key, const std::string& out);

// Makes the next fitting call wait for the gate and then answer itself.
bool answer_hold(const std::string& root, const std::string& key, const std::string& gate);

// Opens the gate for calls that wait and for later ones; shuts it again.
bool gate_open(const std::string& root, const std::string& gate);
bool gate_shut(const std::string& root, const std::string& gate);
std::string gate_path(const std::string& root, const std::string& gate);

// Number of queued answers not used up yet, and the end of all answers of one key.
int answers_left(const std::string& root, const std::string& key);
void answers_clear(const std::string& root, const std::string& key);

// Takes the answer for the call, if there is one. Called by the tools.
bool answer_take(const std::string& root, const std::string& tool,
                 const std::vector<std::string>& key_words, ToolAnswer* answer);

}  // namespace lab
