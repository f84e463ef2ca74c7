#include "lab/program/arguments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr double FASTEST = 1000;
constexpr int MOST_LINES = 1000000;
constexpr int LARGEST_NUMBER = 10000;  // of nodes: who makes them knows the limit
constexpr int MOST_CHAOS_HOURS = 10000;
constexpr int MOST_MINUTES = 10000;

constexpr std::array COMMANDS = {
    CommandRow{CommandKind::UP, "up", "up FILE | up line N | up star N | up tree A B | up grid A B",
               "Starts a mesh in the background and plays the scenario's steps.", 1, 3,
               "--speed --seed --socket"},
    CommandRow{CommandKind::STATUS, "status", "status [NODE]",
               "Shows every node, or the interfaces of one.", 0, 1, "--json --socket --no-colour"},
    CommandRow{CommandKind::WATCH, "watch", "watch", "Shows the mesh live; keys do things to it.",
               0, 0, "--socket --no-colour"},
    CommandRow{CommandKind::DO, "do", "do VERB ... | do wait ... | do expect ...",
               "Does one step of a scenario now and waits for it.", 1, -1, "--json --socket"},
    CommandRow{CommandKind::LOG, "log", "log NODE",
               "Shows the node's flow log with the mesh's dates.", 1, 1,
               "-f --lines --json --socket"},
    CommandRow{CommandKind::SHELL, "shell", "shell NODE",
               "Opens a shell inside the node, among its files and tools.", 1, 1, "-c --socket"},
    CommandRow{CommandKind::SPEED, "speed", "speed N | speed pause | speed resume",
               "Changes how fast the mesh's time passes.", 1, 1, "--json --socket"},
    CommandRow{CommandKind::CHECK, "check", "check FILE",
               "Plays a scenario to its end and tells what differed.", 1, 1,
               "--json --seed --evidence --no-colour"},
    CommandRow{CommandKind::CHAOS, "chaos", "chaos",
               "Plays random verbs and tells of outages and broken rules.", 0, 0,
               "--nodes --hours --minutes --seed --json --evidence --no-colour"},
    CommandRow{CommandKind::GENERATE, "generate",
               "generate line N | generate star N | generate tree A B | generate grid A B",
               "Prints a scenario of that shape.", 1, 3, "--seed"},
    CommandRow{CommandKind::VERBS, "verbs", "verbs",
               "Prints what a scenario may say: statements, steps, verbs and conditions.", 0, 0,
               "--json"},
    CommandRow{CommandKind::DOCTOR, "doctor", "doctor",
               "Tells what this machine lacks and what is lost by it.", 0, 0, "--json --no-colour"},
    CommandRow{CommandKind::DOWN, "down", "down", "Ends the mesh.", 0, 0, "--json --socket"},
    CommandRow{CommandKind::HELP, "help", "help [COMMAND]", "Shows this, or one command.", 0, 1,
               ""},
};

constexpr std::array OPTIONS = {
    OptionRow{OptionKind::JSON, "--json", "", "One JSON object instead of tables."},
    OptionRow{OptionKind::SPEED, "--speed", "N",
              "Seconds of the mesh in a real one; 1 is real pace, 0 as fast as it can go (0)."},
    OptionRow{OptionKind::SEED, "--seed", "N", "Seed of everything random."},
    OptionRow{OptionKind::SOCKET, "--socket", "PATH",
              "Where the mesh listens, when there is more than one."},
    OptionRow{OptionKind::FOLLOW, "-f", "", "Goes on with what is still to come."},
    OptionRow{OptionKind::LINES, "--lines", "N", "Only the last N lines."},
    OptionRow{OptionKind::COMMAND, "-c", "COMMAND", "Runs this one command line."},
    OptionRow{OptionKind::EVIDENCE, "--evidence", "FOLDER",
              "Where a failed run leaves its folder."},
    OptionRow{OptionKind::NODES, "--nodes", "N", "Nodes of the mesh, the root among them (8)."},
    OptionRow{OptionKind::HOURS, "--hours", "N", "Hours of the mesh's time (24)."},
    OptionRow{OptionKind::MINUTES, "--minutes", "N", "Ends the run after so many real minutes."},
    OptionRow{OptionKind::COLOUR, "--no-colour", "", "No colour, whatever the terminal."},
};

template <typename Rows>
constexpr bool in_order(const Rows& rows) {
    for (std::size_t at = 0; at < rows.size(); ++at) {
        if (static_cast<std::size_t>(rows[at].kind) != at) {
            return false;
        }
    }
    return true;
}
static_assert(in_order(COMMANDS) &&
              COMMANDS.size() == static_cast<std::size_t>(CommandKind::HELP) + 1);
static_assert(in_order(OPTIONS) &&
              OPTIONS.size() == static_cast<std::size_t>(OptionKind::COLOUR) + 1);

bool knows(const CommandRow& row, std::string_view option) {
    const std::string list = " " + std::string(row.options) + " ";
    return list.find(" " + std::string(option) + " ") != std::string::npos;
}

const CommandRow* command_find(std::string_view name) {
    const auto* found = std::ranges::find(COMMANDS, name, &CommandRow::name);
    return found == COMMANDS.end() ? nullptr : found;
}

std::vector<std::string> option_names(const CommandRow& row) {
    std::vector<std::string> names;
    for (const OptionRow& option : OPTIONS) {
        if (knows(row, option.name)) {
            names.emplace_back(option.name);
        }
    }
    return names;
}

bool number_into(const std::string& word, int most, int* number) {
    return word_number(word, 1, most, number);
}

bool value_take(OptionKind kind, const std::string& value, Arguments* arguments) {
    std::int64_t seed = 0;
    switch (kind) {
        case OptionKind::SPEED:
            arguments->speed = 0;
            return speed_parse(value, &*arguments->speed);
        case OptionKind::SEED:
            if (!word_number(value, std::int64_t{0}, std::int64_t{UINT32_MAX}, &seed)) {
                return false;
            }
            arguments->seed = static_cast<std::uint32_t>(seed);
            return true;
        case OptionKind::SOCKET:
            arguments->socket = value;
            return !value.empty();
        case OptionKind::LINES:
            return number_into(value, MOST_LINES, &arguments->lines);
        case OptionKind::COMMAND:
            arguments->shell = value;
            return !value.empty();
        case OptionKind::EVIDENCE:
            arguments->evidence = value;
            return !value.empty();
        case OptionKind::NODES:
            return number_into(value, LARGEST_NUMBER, &arguments->nodes);
        case OptionKind::HOURS:
            return number_into(value, MOST_CHAOS_HOURS, &arguments->hours);
        case OptionKind::MINUTES:
            return number_into(value, MOST_MINUTES, &arguments->minutes);
        case OptionKind::JSON:
            arguments->json = true;
            return true;
        case OptionKind::FOLLOW:
            arguments->follow = true;
            return true;
        case OptionKind::COLOUR:
            arguments->colour_never = true;
            return true;
    }
    return false;
}

/// Reads the option at `*at`, with its value behind it or behind "=".
bool option_take(const CommandRow& row, std::span<const std::string> words, std::size_t* at,
                 Arguments* arguments, std::string* error) {
    const std::string& word = words[*at];
    const std::size_t equal = word.starts_with("--") ? word.find('=') : std::string::npos;
    const std::string name = word.substr(0, equal);
    const auto* option = std::ranges::find(OPTIONS, std::string_view(name), &OptionRow::name);
    if (option == OPTIONS.end() || !knows(row, name)) {
        *error = unknown_word(name, "option of `" + std::string(row.name) + "`", option_names(row));
        return false;
    }
    std::string value;
    if (option->value.empty()) {
        if (equal != std::string::npos) {
            *error = "`" + name + "` takes no value";
            return false;
        }
    } else if (equal != std::string::npos) {
        value = word.substr(equal + 1);
    } else if (*at + 1 < words.size()) {
        value = words[++*at];
    } else {
        *error = "`" + name + "` needs a value: " + name + " " + std::string(option->value);
        return false;
    }
    if (!value_take(option->kind, value, arguments)) {
        *error = "`" + value + "` is no value for `" + name + "`";
        return false;
    }
    return true;
}

/// Behind the first word of a step only what is an option beyond doubt: a step has negative numbers
/// and texts of its own.
bool looks_like_option(const CommandRow& row, const std::string& word, const Arguments& arguments) {
    if (row.most < 0 && !arguments.words.empty()) {
        return word.starts_with("--") && knows(row, word.substr(0, word.find('=')));
    }
    return word.size() > 1 && word[0] == '-';
}

bool count_check(const CommandRow& row, const Arguments& arguments, std::string* error) {
    const int count = static_cast<int>(arguments.words.size());
    if (count < row.least || (row.most >= 0 && count > row.most)) {
        *error = "say `" + std::string(row.usage) + "`";
        return false;
    }
    return true;
}

std::string padded(std::string_view text, std::size_t width) {
    std::string cell(text);
    cell.resize(std::max(width, cell.size()), ' ');
    return cell;
}

}  // namespace

std::span<const CommandRow> command_table() {
    return COMMANDS;
}

std::span<const OptionRow> option_table() {
    return OPTIONS;
}

bool speed_parse(const std::string& word, double* speed) {
    char* end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    if (word.empty() || *end != '\0' || !std::isfinite(value) || value < 0 || value > FASTEST ||
        (value > 0 && value < 1 / FASTEST)) {
        return false;
    }
    *speed = value;
    return true;
}

bool arguments_parse(std::span<const std::string> words, Arguments* arguments, std::string* error) {
    if (words.empty()) {
        *error = "a command is missing";
        return false;
    }
    const std::string first = words[0] == "--help" || words[0] == "-h" ? "help" : words[0];
    const CommandRow* row = command_find(first);
    if (row == nullptr) {
        std::vector<std::string> names;
        for (const CommandRow& command : COMMANDS) {
            names.emplace_back(command.name);
        }
        *error = unknown_word(first, "command", names);
        return false;
    }
    arguments->command = row->kind;
    bool only_words = false;
    for (std::size_t at = 1; at < words.size(); ++at) {
        const std::string& word = words[at];
        if (word == "--" && !only_words) {
            only_words = true;
        } else if (only_words || !looks_like_option(*row, word, *arguments)) {
            arguments->words.push_back(word);
        } else if (word == "--help" || word == "-h") {
            arguments->command = CommandKind::HELP;
            arguments->words = {std::string(row->name)};
            return true;
        } else if (!option_take(*row, words, &at, arguments, error)) {
            return false;
        }
    }
    return count_check(*row, *arguments, error);
}

std::string usage_text() {
    std::string text = "usage: backhaul_lab COMMAND ...\n\n";
    for (const CommandRow& row : COMMANDS) {
        text += "  " + padded(row.name, 10) + std::string(row.help) + "\n";
    }
    return text +
           "\n`backhaul_lab help COMMAND` tells more. Exit codes: 0 all good, 1 an expectation "
           "failed or\nsomething is not there, 2 wrong usage.\n";
}

std::string usage_text(const CommandRow& row) {
    std::string text = "usage: backhaul_lab ";
    for (const char letter : row.usage) {
        text += letter == '|' ? std::string("\n       backhaul_lab") : std::string(1, letter);
    }
    // A bar stood between blanks.
    for (std::size_t at = 0; (at = text.find(" \n", at)) != std::string::npos;) {
        text.erase(at, 1);
    }
    text += "\n\n" + std::string(row.help) + "\n";
    bool is_first = true;
    for (const OptionRow& option : OPTIONS) {
        if (knows(row, option.name)) {
            text += is_first ? "\n" : "";
            is_first = false;
            const std::string name = std::string(option.name) + " " + std::string(option.value);
            text += "  " + padded(name, 20) + std::string(option.help) + "\n";
        }
    }
    return text;
}

}  // namespace lab
