#include "lab/tools/answer.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>

#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_words.h"

namespace lab {
namespace {

constexpr std::string_view ALWAYS = "always";

std::string answers_folder(const std::string& root) {
    return state_path(root, "answers");
}

std::string key_folder(const std::string& root, const std::string& key) {
    return answers_folder(root) + "/" + state_name(key);
}

std::vector<std::string> queued(const std::string& folder) {
    std::vector<std::string> names = folder_list(folder);
    std::erase(names, ALWAYS);
    return names;
}

// Reads one "NAME VALUE\n" line off the front of `text`.
bool header_take(std::string_view* text, std::string_view* name, std::string_view* value) {
    const std::size_t end = text->find('\n');
    if (end == std::string_view::npos) {
        return false;
    }
    const std::string_view line = text->substr(0, end);
    const std::size_t blank = line.find(' ');
    *name = line.substr(0, blank);
    *value = blank == std::string_view::npos ? std::string_view{} : line.substr(blank + 1);
    text->remove_prefix(end + 1);
    return true;
}

bool int_decode(std::string_view text, int* number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc{} && end == text.data() + text.size();
}

bool bytes_take(std::string_view* text, std::string_view length, std::string* bytes) {
    int count = 0;
    if (!int_decode(length, &count) || count < 0 ||
        static_cast<std::size_t>(count) > text->size()) {
        return false;
    }
    *bytes = text->substr(0, static_cast<std::size_t>(count));
    text->remove_prefix(static_cast<std::size_t>(count));
    return true;
}

ToolAnswer line_answer(const std::string& out) {
    ToolAnswer answer;
    answer.out = out.empty() || out.back() == '\n' ? out : out + "\n";
    return answer;
}

// Takes the oldest queued answer of the folder, or reads the one that stays.
bool folder_take(const std::string& folder, std::string* text) {
    for (const std::string& name : queued(folder)) {
        const std::string taken = folder + "/" + private_name();
        // Another call may have been faster; then the next one is ours.
        if (file_rename(folder + "/" + name, taken)) {
            const bool read = file_read(taken, text);
            file_remove(taken);
            return read;
        }
    }
    return file_read(folder + "/" + std::string(ALWAYS), text);
}

}  // namespace

std::string answer_encode(const ToolAnswer& answer) {
    std::string text = "exit " + std::to_string(answer.exit_code) + "\n";
    if (!answer.gate.empty()) {
        text += "gate " + answer.gate + "\n";
    }
    if (answer.run_tool) {
        text += "tool\n";
    }
    text += "err " + std::to_string(answer.err.size()) + "\n" + answer.err;
    text += "out " + std::to_string(answer.out.size()) + "\n" + answer.out;
    return text;
}

bool answer_decode(std::string_view text, ToolAnswer* answer) {
    *answer = {};
    bool complete = false;
    std::string_view name;
    std::string_view value;
    while (!complete && header_take(&text, &name, &value)) {
        bool good = true;
        if (name == "exit") {
            good = int_decode(value, &answer->exit_code);
        } else if (name == "gate") {
            answer->gate = value;
        } else if (name == "tool") {
            answer->run_tool = true;
        } else if (name == "err") {
            good = bytes_take(&text, value, &answer->err);
        } else if (name == "out") {
            good = bytes_take(&text, value, &answer->out);
            complete = good;
        } else {
            good = false;
        }
        if (!good) {
            return false;
        }
    }
    return complete && text.empty();
}

bool answer_push(const std::string& root, const std::string& key, const ToolAnswer& answer) {
    const std::string folder = key_folder(root, key);
    const std::vector<std::string> names = queued(folder);
    int last = 0;
    if (!names.empty()) {
        int_decode(std::string_view(names.back()).substr(1), &last);
    }
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "q%08d", last + 1);
    return file_write(folder + "/" + name.data(), answer_encode(answer));
}

bool answer_push(const std::string& root, const std::string& key, const std::string& out) {
    return answer_push(root, key, line_answer(out));
}

bool answer_always(const std::string& root, const std::string& key, const ToolAnswer& answer) {
    return file_write(key_folder(root, key) + "/" + std::string(ALWAYS), answer_encode(answer));
}

bool answer_always(const std::string& root, const std::string& key, const std::string& out) {
    return answer_always(root, key, line_answer(out));
}

bool answer_hold(const std::string& root, const std::string& key, const std::string& gate) {
    ToolAnswer answer;
    answer.gate = gate;
    answer.run_tool = true;
    return answer_push(root, key, answer);
}

std::string gate_path(const std::string& root, const std::string& gate) {
    return state_path(root, "gates/" + state_name(gate));
}

bool gate_open(const std::string& root, const std::string& gate) {
    return file_write(gate_path(root, gate), "open\n");
}

bool gate_shut(const std::string& root, const std::string& gate) {
    return file_remove(gate_path(root, gate));
}

int answers_left(const std::string& root, const std::string& key) {
    return static_cast<int>(queued(key_folder(root, key)).size());
}

void answers_clear(const std::string& root, const std::string& key) {
    folder_remove(key_folder(root, key));
}

bool answer_take(const std::string& root, const std::string& tool,
                 const std::vector<std::string>& key_words, ToolAnswer* answer) {
    if (!path_exists(answers_folder(root))) {
        return false;
    }
    for (const std::string& key : tool_keys(tool, key_words)) {
        std::string text;
        if (folder_take(key_folder(root, key), &text) && answer_decode(text, answer)) {
            return true;
        }
    }
    return false;
}

}  // namespace lab
