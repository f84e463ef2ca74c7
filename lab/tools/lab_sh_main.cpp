// lab_sh: the recording shell, bound over /bin/sh in a sandbox.
//
// `sh -c LINE` is recorded before the real shell takes over in the same process. Any other use is
// handed on unrecorded. In a mesh, where all nodes share a processor, a line that is one call of a
// stand-in tool or of openssl is done here: most of what a daemon runs is, and three programs a
// line would be most of what a mesh costs. Nothing of it outlives the line, which the clock's owner
// relies on. The preloaded clock is not handed on: what a line starts needs no moved time, and
// starts faster without it. LAB_REAL_SH names another real shell.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "lab/clock/own_page.h"
#include "lab/sandbox/layout.h"
#include "lab/tools/lab_time.h"
#include "lab/tools/record.h"
#include "lab/tools/shell_line.h"
#include "lab/tools/small_file.h"
#include "lab/tools/tool_call.h"
#include "lab/tools/tool_openssl.h"
#include "lab/tools/tool_words.h"

namespace {

constexpr mode_t MODE_ALL = 0666;

bool is_stand_in(const std::string& name) {
    const std::string path = name.starts_with('/') ? name : lab::LAB_BIN + ("/" + name);
    std::array<char, 256> target{};
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    return length > 0 &&
           std::string_view(target.data(), static_cast<std::size_t>(length)).ends_with("/lab_tool");
}

// What the real program prints in front of everything.
constexpr std::string_view OPENSSL_WARNING =
    "*** WARNING : deprecated key derivation used.\nUsing -iter or -pbkdf2 would be better.\n";

// openssl aes-128-cbc -e -k PHRASE, with the message in front; and -d -k PHRASE -in FILE.
std::optional<lab::ToolCall> openssl_call(const lab::ShellLine& line) {
    const std::vector<std::string>& words = line.words;
    if (words.size() < 5 || words[0] != "openssl" || words[1] != "aes-128-cbc" ||
        words[3] != "-k" || lab::path_exists(std::string(lab::LAB_BIN) + "/openssl")) {
        return std::nullopt;
    }
    lab::ToolCall call;
    call.err = OPENSSL_WARNING;
    if (words[2] == "-e" && words.size() == 5 && line.has_input) {
        const auto message =
            lab::openssl_seal(line.input, words[4], std::to_string(lab::node_time()));
        call.out = message.value_or("");
        return message ? std::optional(call) : std::nullopt;
    }
    std::string sealed;
    if (words[2] != "-d" || words.size() != 7 || words[5] != "-in" || line.has_input ||
        !lab::file_read(words[6], &sealed)) {
        return std::nullopt;
    }
    const std::optional<lab::Sealed> opened = lab::openssl_open(sealed, words[4]);
    if (!opened) {
        return std::nullopt;
    }
    call.out = opened->out;
    call.err += opened->good ? "" : "bad decrypt\n";
    call.exit_code = opened->good ? 0 : 1;
    return call;
}

// A line that waits for the air counts as ended meanwhile.
void air_wait_note(bool begins) {
    begins ? lab::own_line_end() : lab::own_line_begin();
}

// Does the line and ends; comes back when a real shell has to do it.
void line_do(const std::string& root, const char* text) {
    const std::optional<lab::ShellLine> line = lab::shell_line_parse(text);
    if (!line) {
        return;
    }
    std::optional<lab::ToolCall> call = openssl_call(*line);
    const bool is_tool = !call && !line->has_input && is_stand_in(line->words[0]);
    const bool other_grep = !line->wanted.empty() && is_stand_in("grep");
    if ((!call && !is_tool) || other_grep) {
        return;
    }
    // As a shell does, before the program runs.
    const int out = line->out.empty() ? STDOUT_FILENO
                                      : open(line->out.c_str(),
                                             O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, MODE_ALL);
    if (out < 0) {
        return;
    }
    if (is_tool) {
        call.emplace();
        call->root = root;
        call->air_wait_note = air_wait_note;
        call->tool = lab::tool_base_name(line->words[0]);
        call->words.assign(line->words.begin() + 1, line->words.end());
        lab::tool_call_run(&*call);
    }
    if (!line->wanted.empty()) {
        call->out = lab::lines_with(call->out, line->wanted);
        call->exit_code = call->out.empty() ? 1 : 0;
    }
    lab::write_all(STDERR_FILENO, call->err);
    lab::write_all(out, call->out);
    _exit(line->in_background ? 0 : call->exit_code);
}

// The text behind -c (and behind "--", which some libraries put in between), or null.
const char* shell_line(int argc, char** argv) {
    if (argc < 3 || std::strcmp(argv[1], "-c") != 0) {
        return nullptr;
    }
    const int at = std::strcmp(argv[2], "--") == 0 ? 3 : 2;
    return at < argc ? argv[at] : nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    const char* root = std::getenv("LAB_ROOT");
    const char* line = shell_line(argc, argv);
    if (line != nullptr) {
        lab::line_record_append(root == nullptr ? "" : root, line);
    }
    lab::own_page_map();
    if (line != nullptr && lab::own_exact()) {
        line_do(root == nullptr ? "" : root, line);
    }
    // What a real shell starts may outlive the line.
    lab::own_handed_note();
    unsetenv("LD_PRELOAD");
    const char* named = std::getenv("LAB_REAL_SH");
    const std::array<std::string, 3> shells = {named == nullptr ? "" : named, lab::LAB_REAL_SHELL,
                                               "/usr/bin/dash"};
    for (const std::string& shell : shells) {
        if (!shell.empty()) {
            execv(shell.c_str(), argv);
        }
    }
    std::fputs("lab_sh: there is no real shell to run\n", stderr);
    return 127;
}
