#include "tests/fuzz/bed/shell.h"

#include <algorithm>
#include <array>
#include <cstdarg>

#include "runtime/flow_log.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"

extern "C" int __real_system(const char* line);

namespace fuzz {
namespace {

// The fuzzer runs itself through system() as well, before any input.
bool is_in_use = false;

// The tool's side: its line is kept, its answer goes where the line sends it.
std::string line_run(const char* line) {
    Shell& state = shell();
    state.lines.emplace_back(line);
    const auto answer = state.answer ? state.answer(line) : std::optional<std::string>("");
    const auto words = shell_read(line);
    if (!words || !answer) {
        return "";
    }
    for (size_t at = 0; at + 1 < words->size(); ++at) {
        if ((*words)[at].is_operator && (*words)[at].text == ">") {
            file_put((*words)[at + 1].text.c_str(), *answer);
            return "";
        }
    }
    return *answer;
}

}  // namespace

Shell& shell() {
    static Shell state;
    return state;
}

void shell_reset() {
    is_in_use = true;
    shell() = {};
}

void require_lines_are_words() {
    for (const std::string& line : shell().lines) {
        require(shell_read(line).has_value(), "a line holds nothing but words for the shell");
    }
}

}  // namespace fuzz

// The daemon's way out, by the linker; and its log, in the place of its own.

extern "C" int __wrap_system(const char* line) {
    if (!fuzz::is_in_use) {
        return __real_system(line);
    }
    fuzz::line_run(line);
    return 0;
}

extern "C" FILE* __wrap_popen(const char* line, const char* /*mode*/) {
    // The stream reads its own copy, which goes with it.
    static std::string answer;
    answer = fuzz::line_run(line);
    return fmemopen(answer.data(), answer.size(), "r");
}

extern "C" int __wrap_pclose(FILE* file) {
    return std::fclose(file);
}

extern "C" unsigned __wrap_sleep(unsigned /*seconds*/) {
    return 0;
}

void flow_log(const char* format, ...) {
    std::array<char, 512> text{};
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    fuzz::require(length > 0 && static_cast<size_t>(length) < text.size(), "a log line is short");
    fuzz::shell().log.emplace_back(text.data());
}
