// The program `backhaul_lab`: from what was typed to one of the commands.

#include <array>
#include <cstdio>
#include <string_view>

#include "lab/program/command_line.h"
#include "lab/program/socket_place.h"

namespace {

struct CommandFunction {
    std::string_view name;
    int (*run)(const lab::Arguments& arguments);
};

constexpr std::array FUNCTIONS = {
    CommandFunction{"up", lab::up_command},
    CommandFunction{"status", lab::status_command},
    CommandFunction{"watch", lab::watch_command},
    CommandFunction{"do", lab::do_command},
    CommandFunction{"log", lab::log_command},
    CommandFunction{"shell", lab::shell_command},
    CommandFunction{"speed", lab::speed_command},
    CommandFunction{"check", lab::check_command},
    CommandFunction{"chaos", lab::chaos_command},
    CommandFunction{"replay", lab::replay_command},
    CommandFunction{"shrink", lab::shrink_command},
    CommandFunction{"campaign", lab::campaign_command},
    CommandFunction{"generate", lab::generate_command},
    CommandFunction{"verbs", lab::verbs_command},
    CommandFunction{"doctor", lab::doctor_command},
    CommandFunction{"down", lab::down_command},
};

// As in the table, whose last row is `help`.
constexpr bool functions_are_whole() {
    for (std::size_t at = 0; at < FUNCTIONS.size(); ++at) {
        if (FUNCTIONS[at].name != lab::COMMANDS[at].name) {
            return false;
        }
    }
    return FUNCTIONS.size() + 1 == lab::COMMANDS.size();
}
static_assert(functions_are_whole());

}  // namespace

int main(int argc, char** argv) {
    lab::program_called(argv[0]);
    lab::Arguments arguments;
    std::string help;
    std::string error;
    const lab::CommandRow* row = lab::command_read({argv + 1, argv + argc}, arguments, help, error);
    if (row != nullptr) {
        return FUNCTIONS[static_cast<std::size_t>(row - lab::COMMANDS.data())].run(arguments);
    }
    if (!help.empty()) {
        printf("%s", help.c_str());
        return lab::EXIT_GOOD;
    }
    return lab::complain(arguments, error, lab::EXIT_USAGE);
}
