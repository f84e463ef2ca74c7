// The program `backhaul_lab`: from what was typed to one of the commands.

#include <array>
#include <cstdio>

#include "lab/program/commands.h"

namespace {

using lab::CommandKind;

struct CommandFunction {
    CommandKind kind;
    int (*run)(const lab::Arguments& arguments);
};

constexpr std::array FUNCTIONS = {
    CommandFunction{CommandKind::UP, lab::up_command},
    CommandFunction{CommandKind::STATUS, lab::status_command},
    CommandFunction{CommandKind::WATCH, lab::watch_command},
    CommandFunction{CommandKind::DO, lab::do_command},
    CommandFunction{CommandKind::LOG, lab::log_command},
    CommandFunction{CommandKind::SHELL, lab::shell_command},
    CommandFunction{CommandKind::SPEED, lab::speed_command},
    CommandFunction{CommandKind::CHECK, lab::check_command},
    CommandFunction{CommandKind::CHAOS, lab::chaos_command},
    CommandFunction{CommandKind::GENERATE, lab::generate_command},
    CommandFunction{CommandKind::VERBS, lab::verbs_command},
    CommandFunction{CommandKind::DOCTOR, lab::doctor_command},
    CommandFunction{CommandKind::DOWN, lab::down_command},
    CommandFunction{CommandKind::HELP, lab::help_command},
};
static_assert(FUNCTIONS.size() == static_cast<std::size_t>(CommandKind::HELP) + 1);

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    lab::Arguments arguments;
    std::string error;
    if (!lab::arguments_parse(words, &arguments, &error)) {
        lab::complain(error, lab::EXIT_USAGE);
        if (words.empty()) {
            fprintf(stderr, "\n%s", lab::usage_text().c_str());
        }
        return lab::EXIT_USAGE;
    }
    for (const CommandFunction& function : FUNCTIONS) {
        if (function.kind == arguments.command) {
            return function.run(arguments);
        }
    }
    return lab::EXIT_USAGE;
}
