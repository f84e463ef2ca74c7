// lab_tool: every tool of the router's firmware in one program, told apart by its name.
//
// Usage: a link named like the tool, or `lab_tool NAME WORD...`. The node's files are looked for
// under "/", or under the folder that LAB_ROOT names.
#include <unistd.h>

#include <cstdlib>

#include "lab/tools/small_file.h"
#include "lab/tools/tool_call.h"
#include "lab/tools/tool_words.h"

int main(int argc, char** argv) {
    if (argc < 1) {
        return 2;
    }
    lab::ToolCall call;
    const char* root = std::getenv("LAB_ROOT");
    call.root = root == nullptr ? "" : root;
    call.words.assign(argv, argv + argc);
    call.tool = lab::tool_base_name(call.words.front());
    call.words.erase(call.words.begin());
    if (call.tool == "lab_tool" && !call.words.empty()) {
        call.tool = lab::tool_base_name(call.words.front());
        call.words.erase(call.words.begin());
    }
    lab::tool_call_run(&call);
    lab::write_all(STDERR_FILENO, call.err);
    lab::write_all(STDOUT_FILENO, call.out);
    return call.exit_code;
}
