// The configuration store: get, set, delete, commit, revert, show and changes.
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_call.h"

namespace lab {
namespace {

void fail(ToolCall* call, const std::string& text) {
    call->err = "uci: " + text + "\n";
    call->exit_code = 1;
}

void get(ToolCall* call, const std::string& key) {
    const std::string value = uci_store_get(call->root, key);
    if (value.empty()) {
        fail(call, "Entry not found");
    } else {
        call->out = value + "\n";
    }
}

void set(ToolCall* call, const std::string& assignment) {
    const std::size_t equals = assignment.find('=');
    // A value with an unquoted blank arrives as one word too many.
    if (call->words.size() != 2 || equals == std::string::npos || equals == 0) {
        fail(call, "Invalid argument");
        return;
    }
    uci_store_stage(call->root, assignment.substr(0, equals), assignment.substr(equals + 1));
}

void show(ToolCall* call, const std::string& prefix) {
    for (const std::string& key : uci_store_keys(call->root)) {
        const std::string value = uci_store_get(call->root, key);
        if (key.starts_with(prefix) && !value.empty()) {
            call->out += key + "='" + value + "'\n";
        }
    }
}

}  // namespace

void tool_uci(ToolCall* call) {
    const std::string& verb = word_at(call->words, 0);
    const std::string& what = word_at(call->words, 1);
    if (verb == "get" && !what.empty()) {
        get(call, what);
    } else if (verb == "set") {
        set(call, what);
    } else if (verb == "delete" && !what.empty()) {
        uci_store_stage(call->root, what, "");
    } else if (verb == "commit") {
        uci_store_commit(call->root, what);
    } else if (verb == "revert") {
        uci_store_revert(call->root, what);
    } else if (verb == "show") {
        show(call, what);
    } else {
        fail(call, "Invalid argument");
    }
}

}  // namespace lab
